# Protection of the built code against its own mistakes.

include_guard()
include(CheckCXXCompilerFlag)

# Not for every target: Clang knows it for some only.
check_cxx_compiler_flag("-Werror -fstack-clash-protection" VORN_HAS_STACK_CLASH_PROTECTION)

function(vorn_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(VORN_HAS_STACK_CLASH_PROTECTION)
    target_compile_options(${target} PRIVATE -fstack-clash-protection)
  endif()
  # The C library's checks need optimisation, and hide its calls from sanitizers.
  if(NOT VORN_SANITIZE)
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
  endif()
  target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endfunction()
