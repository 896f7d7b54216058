# Prints what a toolchain file says about linking and running programs.
include("${TOOLCHAIN}")
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "VORN_EMULATOR=${emulator}")
execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "LDFLAGS=${CMAKE_EXE_LINKER_FLAGS_INIT}")
