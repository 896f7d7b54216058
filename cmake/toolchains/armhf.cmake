# 32-bit ARM with hardware floating point, as on the device.
set(VORN_DEBIAN_ARCHITECTURE armhf)
set(VORN_TRIPLET arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
include("${CMAKE_CURRENT_LIST_DIR}/debian-arm.cmake")
