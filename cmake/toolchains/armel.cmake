# 32-bit ARM without hardware floating point.
set(VORN_DEBIAN_ARCHITECTURE armel)
set(VORN_TRIPLET arm-linux-gnueabi)
set(CMAKE_SYSTEM_PROCESSOR armv5tel)
include("${CMAKE_CURRENT_LIST_DIR}/debian-arm.cmake")
