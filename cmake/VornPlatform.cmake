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

# Both behind an interface, which keeps their targets out of what the library
# exports: its users link neither.
add_library(vorn_platform INTERFACE)
target_link_libraries(vorn_platform INTERFACE vorn::vornutil vorn::dlog)
add_library(vorn::platform ALIAS vorn_platform)
