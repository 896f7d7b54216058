# The common part of the 32-bit ARM toolchains: Debian's cross compiler, the target's
# packages as scripts/sysroot.sh unpacks them, and an emulator to run the programs.
# Included with VORN_DEBIAN_ARCHITECTURE and VORN_TRIPLET set.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${VORN_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${VORN_TRIPLET})

get_filename_component(VORN_SYSROOT
  "${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${VORN_DEBIAN_ARCHITECTURE}" ABSOLUTE)
if(VORN_SYSROOT MATCHES " ")
  message(FATAL_ERROR "The emulator and the linker take no folder with a blank: ${VORN_SYSROOT}")
endif()
if(NOT EXISTS "${VORN_SYSROOT}/request")
  message(FATAL_ERROR
    "The target's packages are not in ${VORN_SYSROOT}; "
    "run: scripts/sysroot.sh ${VORN_DEBIAN_ARCHITECTURE}")
endif()
set(VORN_SYSROOT_LIBRARIES "${VORN_SYSROOT}/usr/lib/${VORN_TRIPLET}")

# The compiler knows where its own C and C++ libraries are; all else is looked for
# in the sysroot, and in the roots that the user may have given, but nothing of the
# target's in the machine's own folders.
list(APPEND CMAKE_FIND_ROOT_PATH "${VORN_SYSROOT}")
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# On the device these are the system's folders: no run path may name them.
set(CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES "${VORN_SYSROOT_LIBRARIES}")
# Notes on a change of the calling convention that predates all our releases.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${VORN_SYSROOT_LIBRARIES}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${VORN_SYSROOT_LIBRARIES}")

# The library path is explicit: if the machine has a C library of the target's
# architecture of its own, the loader of one would meet the library of the other.
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-arm -L /usr/${VORN_TRIPLET} -E LD_LIBRARY_PATH=/usr/${VORN_TRIPLET}/lib:${VORN_SYSROOT_LIBRARIES})
