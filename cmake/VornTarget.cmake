# The common options of our own targets. No consumer gets them.

include(CheckCXXCompilerFlag)
include(VornHardening)

# GCC only: see ContainerGuard.h.
check_cxx_compiler_flag(-fno-printf-return-value VORN_HAS_NO_PRINTF_RETURN_VALUE)
# GCC only: it would copy the streams' constructors into the library, to pass an
# argument less.
check_cxx_compiler_flag(-fno-ipa-sra VORN_HAS_NO_IPA_SRA)

# vorn_target(<target> [<standard>])
function(vorn_target target)
  set(standards 17 ${ARGN})
  list(GET standards -1 standard)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD ${standard} CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  # Other compilers may have other warnings.
  if(VORN_WARNINGS_AS_ERRORS AND "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}"
      MATCHES "^(GNU 12|Clang 14)\\.")
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(VORN_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${VORN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${VORN_SANITIZE})
    # GCC's sanitizers make it suspect the standard library's own code, such as <regex>.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
  endif()
  # Built files do not depend on the folder, so two builds are identical. A host's debugger
  # has to find the sources, however.
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE
      "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
      "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>")
  endif()
  set_target_properties(${target} PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
endfunction()

# For the shared libraries among them. Clang leaves the sanitizers' symbols to
# the program, so a library cannot be complete there.
function(vorn_shared_library target)
  vorn_target(${target})
  vorn_harden(${target})
  # Only what is instrumented guides the fuzzer.
  if(VORN_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(NOT (VORN_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
