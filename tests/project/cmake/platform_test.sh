#!/usr/bin/env bash
# Configures the project for a device's own platform libraries. The stand-ins of
# this build play the device's.
# Use: platform_test.sh CASE SOURCE_DIRECTORY PLATFORM_BUILD_DIRECTORY CXX_COMPILER
set -euo pipefail

case=$1
source=$2
platform=$3
compiler=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A cross build looks in its root folders alone; the device's is one of them.
device_root=()
if [ -n "${CMAKE_TOOLCHAIN_FILE:-}" ]; then
  device_root=(-DCMAKE_FIND_ROOT_PATH="$work/device")
fi

fail() {
  cat "$work/log" >&2 || true
  echo "$case: $1" >&2
  exit 1
}

# configure ARGUMENT...: nothing but what is given may be found.
configure() {
  env -u PKG_CONFIG_PATH ${PKG_CONFIG_PATH_OF_DEVICE:+PKG_CONFIG_PATH="$PKG_CONFIG_PATH_OF_DEVICE"} \
    cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF "$@" >"$work/log" 2>&1
}

# A device's folder with both libraries and their headers.
make_device() {
  mkdir -p "$work/device/include" "$work/device/lib"
  cp "$source/platform/dlog/dlog.h" "$source"/platform/vornutil/*.h "$work/device/include"
  cp "$platform/libdlog.so" "$platform/libvornutil.so" "$work/device/lib"
}

build_and_check() {
  cmake --build "$work/build" >"$work/log" 2>&1 || fail "the library does not build"
  local library=$work/build/src/libvorndatabase.so
  for needed in libdlog.so libvornutil.so; do
    grep -q "NEEDED.*\[$needed\]" <<<"$(readelf -dW "$library")" || fail "the library does not need $needed"
  done
  [ ! -e "$work/build/platform" ] || fail "the stand-ins were built"
}

# expect_failure TEXT ARGUMENT...
expect_failure() {
  local text=$1
  shift
  if configure "$@"; then
    fail "the configuration should have failed"
  fi
  # CMake wraps long messages.
  grep -qF -- "$text" <<<"$(tr -s ' \n' ' ' <"$work/log")" || fail "the message should say '$text'"
}

missing_everything() {
  expect_failure "of the platform library 'dlog' this is missing: dlog.h, libdlog.so" \
    -DVORN_PLATFORM=system
  expect_failure "-DVORN_PLATFORM=development" -DVORN_PLATFORM=system
}

missing_one_header() {
  make_device
  rm "$work/device/include/VornMutex.h"
  expect_failure "of the platform library 'vornutil' this is missing: VornMutex.h." \
    -DVORN_PLATFORM=system \
    -DVORN_DLOG_INCLUDE_DIR="$work/device/include" -DVORN_DLOG_LIBRARY="$work/device/lib/libdlog.so" \
    -DVORN_VORNUTIL_INCLUDE_DIR="$work/device/include" \
    -DVORN_VORNUTIL_LIBRARY="$work/device/lib/libvornutil.so"
}

missing_one_library() {
  make_device
  expect_failure "of the platform library 'dlog' this is missing: libdlog.so." \
    -DVORN_PLATFORM=system \
    -DVORN_DLOG_INCLUDE_DIR="$work/device/include" -DVORN_DLOG_LIBRARY="$work/device/lib/nosuch.so"
}

unknown_platform() {
  expect_failure "VORN_PLATFORM is 'desktop'; it must be 'development' or 'system'." \
    -DVORN_PLATFORM=desktop
}

by_path() {
  make_device
  configure -DVORN_PLATFORM=system \
    -DVORN_DLOG_INCLUDE_DIR="$work/device/include" -DVORN_DLOG_LIBRARY="$work/device/lib/libdlog.so" \
    -DVORN_VORNUTIL_INCLUDE_DIR="$work/device/include" \
    -DVORN_VORNUTIL_LIBRARY="$work/device/lib/libvornutil.so" || fail "it does not configure"
  build_and_check
}

by_prefix() {
  make_device
  configure -DVORN_PLATFORM=system -DCMAKE_PREFIX_PATH="$work/device" "${device_root[@]}" || fail "it does not configure"
  build_and_check
}

by_pkg_config() {
  make_device
  for name in dlog vornutil; do
    printf 'Name: %s\nDescription: the device'"'"'s own\nVersion: 1\nCflags: -I%s\nLibs: -L%s -l%s\n' \
      "$name" "$work/device/include" "$work/device/lib" "$name" >"$work/device/$name.pc"
  done
  PKG_CONFIG_PATH_OF_DEVICE=$work/device
  configure -DVORN_PLATFORM=system "${device_root[@]}" || fail "it does not configure"
  grep -q 'dlog: pkg-config module' "$work/log" || fail "pkg-config was not used"
  build_and_check
}

by_package() {
  make_device
  for name in dlog vornutil; do
    mkdir -p "$work/device/lib/cmake/$name"
    cat >"$work/device/lib/cmake/$name/${name}Config.cmake" <<CONFIG
add_library($name::$name SHARED IMPORTED)
set_target_properties($name::$name PROPERTIES
  IMPORTED_LOCATION "$work/device/lib/lib$name.so"
  INTERFACE_INCLUDE_DIRECTORIES "$work/device/include")
CONFIG
  done
  configure -DVORN_PLATFORM=system -DCMAKE_PREFIX_PATH="$work/device" "${device_root[@]}" || fail "it does not configure"
  grep -q 'dlog: CMake package' "$work/log" || fail "the CMake package was not used"
  build_and_check
}

# A device's header may declare the log's buffer and priority as enumerations.
by_path_with_enumerations() {
  make_device
  cat >"$work/device/include/dlog.h" <<HEADER
enum LogBuffer { kMain, kRadio };
enum LogLevel { kUnknown, kDefault, kVerbose };
extern "C" int __dlog_print(LogBuffer buffer, LogLevel level, const char* tag, const char* format, ...);
HEADER
  configure -DVORN_PLATFORM=system -DCMAKE_PREFIX_PATH="$work/device" "${device_root[@]}" || fail "it does not configure"
  build_and_check
}

case $case in
  missing_everything | missing_one_header | missing_one_library | unknown_platform | by_path | \
    by_prefix | by_pkg_config | by_package | by_path_with_enumerations) "$case" ;;
  *) fail "unknown case" ;;
esac
echo "$case: as expected"
