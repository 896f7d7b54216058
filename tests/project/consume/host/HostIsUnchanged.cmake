# A library may not change how its host is built: remember_host() before it is
# taken in, expect_unchanged_host() afterwards. All variables of CMake and its
# tools count.

function(list_variables result)
  get_cmake_property(names VARIABLES)
  list(FILTER names INCLUDE REGEX "^(CMAKE|BUILD|CTEST|CPACK|PROJECT)_")
  # Variables of this call, and the result of CMake's FindThreads.
  list(FILTER names EXCLUDE REGEX "^CMAKE_(CURRENT_FUNCTION.*|HAVE_LIBC_PTHREAD)$")
  set(${result} "${names}" PARENT_SCOPE)
endfunction()

function(remember_host)
  list_variables(names)
  foreach(name IN LISTS names)
    set_property(GLOBAL PROPERTY host_${name} "${${name}}")
  endforeach()
  set_property(GLOBAL PROPERTY host_variables "${names}")
endfunction()

function(expect_unchanged_host)
  list_variables(names)
  get_property(earlier GLOBAL PROPERTY host_variables)
  foreach(name IN LISTS earlier)
    get_property(value GLOBAL PROPERTY host_${name})
    if(NOT "${${name}}" STREQUAL "${value}")
      message(SEND_ERROR "the library changed ${name} from '${value}' to '${${name}}'")
    endif()
  endforeach()
  list(REMOVE_ITEM names ${earlier})
  foreach(name IN LISTS names)
    message(SEND_ERROR "the library added ${name}, '${${name}}'")
  endforeach()
endfunction()

# The library's tests and examples would be further folders.
function(expect_subdirectories directory)
  get_property(folders DIRECTORY "${directory}" PROPERTY SUBDIRECTORIES)
  list(TRANSFORM folders REPLACE "^${directory}/" "")
  list(SORT folders)
  if(NOT folders STREQUAL "${ARGN}")
    message(SEND_ERROR "the library builds the folders '${folders}'; expected '${ARGN}'")
  endif()
endfunction()
