# Parts of the project that need more than the library does.

include_guard()

option(VORN_REQUIRE_ALL "Fail instead of leaving a part out" OFF)

# vorn_part(<option> <description> <default>) declares the option of a part. AUTO
# builds the part if its packages are installed.
function(vorn_part option description default)
  set(${option} ${default} CACHE STRING "${description}: ON, OFF, or AUTO if its packages are installed")
  set_property(CACHE ${option} PROPERTY STRINGS AUTO ON OFF)
endfunction()

# vorn_needs(<option> <part> [<package> <variable>]...) leaves the calling folder if one
# of the variables is false. That is an error if the part was asked for.
macro(vorn_needs option part)
  vorn_missing_packages(vorn_missing ${ARGN})
  if(vorn_missing)
    if(VORN_REQUIRE_ALL OR NOT ${option} STREQUAL "AUTO")
      message(FATAL_ERROR "${option} is ${${option}}, but ${part} cannot be built without the Debian "
        "packages: ${vorn_missing}. Install them, or set ${option} to OFF, or to AUTO and "
        "VORN_REQUIRE_ALL to OFF.")
    endif()
    message(STATUS "Left out: ${part}, for want of the Debian packages ${vorn_missing}")
    return()
  endif()
endmacro()

function(vorn_missing_packages result)
  set(missing "")
  set(pairs ${ARGN})
  while(pairs)
    list(POP_FRONT pairs package variable)
    if(NOT ${variable})
      list(APPEND missing ${package})
    endif()
  endwhile()
  list(REMOVE_DUPLICATES missing)
  list(JOIN missing " " missing)
  set(${result} "${missing}" PARENT_SCOPE)
endfunction()
