# The platform's libraries as the targets vorn::dlog and vorn::vornutil.

if(VORN_PLATFORM STREQUAL "development")
  add_subdirectory("${PROJECT_SOURCE_DIR}/platform")
  add_library(vorn::dlog ALIAS dlog)
  add_library(vorn::vornutil ALIAS vornutil)
elseif(VORN_PLATFORM STREQUAL "system")
  include(VornSystemLibrary)
  vorn_system_library(dlog HEADERS dlog.h)
  vorn_system_library(vornutil HEADERS VornLogger.h VornMutex.h)
else()
  message(FATAL_ERROR "VORN_PLATFORM is '${VORN_PLATFORM}'; it must be 'development' or 'system'.")
endif()
