# Finds one of the device's own libraries: its CMake package, else its pkg-config
# module, else its headers and its library by path.

include_guard()

# vorn_system_library(<name> HEADERS <header>...) defines vorn::<name>.
function(vorn_system_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS")
  string(TOUPPER ${name} upper)

  find_package(${name} CONFIG QUIET)
  if(TARGET ${name}::${name})
    message(STATUS "Platform library ${name}: CMake package in ${${name}_DIR}")
    add_library(vorn::${name} ALIAS ${name}::${name})
    return()
  endif()

  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(VORN_PC_${upper} QUIET IMPORTED_TARGET GLOBAL ${name})
    if(TARGET PkgConfig::VORN_PC_${upper})
      message(STATUS "Platform library ${name}: pkg-config module, version ${VORN_PC_${upper}_VERSION}")
      add_library(vorn::${name} ALIAS PkgConfig::VORN_PC_${upper})
      return()
    endif()
  endif()

  vorn_system_library_by_path(${name} ${upper} ${arg_HEADERS})
endfunction()

function(vorn_system_library_by_path name upper)
  set(VORN_${upper}_INCLUDE_DIR "" CACHE PATH "Directory of the platform's ${name} headers")
  set(VORN_${upper}_LIBRARY "" CACHE FILEPATH "The platform's lib${name}.so")

  set(missing "")
  set(directories "")
  foreach(header IN LISTS ARGN)
    # Not cached, so that each header, and each run, is looked for anew.
    unset(directory)
    # A path from the user is taken literally. A cross build searches all else below its
    # root folders.
    find_path(directory ${header} PATHS "${VORN_${upper}_INCLUDE_DIR}" NO_DEFAULT_PATH
      NO_CMAKE_FIND_ROOT_PATH NO_CACHE)
    find_path(directory ${header} NO_CACHE)
    if(directory)
      list(APPEND directories "${directory}")
    else()
      list(APPEND missing ${header})
    endif()
  endforeach()
  set(library "${VORN_${upper}_LIBRARY}")
  if(NOT library)
    unset(library)
    find_library(library ${name} NO_CACHE)
  endif()
  if(NOT library OR NOT EXISTS "${library}")
    list(APPEND missing lib${name}.so)
  endif()

  if(missing)
    list(JOIN missing ", " missing)
    message(FATAL_ERROR
      "VORN_PLATFORM is 'system', but of the platform library '${name}' this is missing: ${missing}.\n"
      "Looked for the CMake package ${name} (set ${name}_DIR), the pkg-config module ${name} "
      "(set PKG_CONFIG_PATH), and plain files (set VORN_${upper}_INCLUDE_DIR and "
      "VORN_${upper}_LIBRARY).\n"
      "To build on a desktop without the device's libraries, use -DVORN_PLATFORM=development.")
  endif()

  list(REMOVE_DUPLICATES directories)
  message(STATUS "Platform library ${name}: ${library}")
  add_library(vorn_system_${name} SHARED IMPORTED GLOBAL)
  set_target_properties(vorn_system_${name} PROPERTIES
    IMPORTED_LOCATION "${library}"
    INTERFACE_INCLUDE_DIRECTORIES "${directories}")
  add_library(vorn::${name} ALIAS vorn_system_${name})
endfunction()
