#!/usr/bin/env bash
# Counts the instructions that an upsert, a select, a typed read, a log line and a lock
# take, as the library is shipped, on x86-64 and on the device's processor:
#
#   scripts/instructions.sh check   fails when they differ by 3 % from bench/instructions.txt
#   scripts/instructions.sh update  writes them there, to be reviewed

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage='usage: scripts/instructions.sh check|update'
case "$#:${1:-}" in
  1:check | 1:update) ;;
  1:-h | 1:--help)
    echo "$usage"
    exit
    ;;
  *)
    echo "$usage" >&2
    exit 2
    ;;
esac
if [[ $(uname -m) != x86_64 ]]; then
  echo "instructions.sh: the figures are x86-64's; this machine is $(uname -m)" >&2
  exit 1
fi

# In a folder of its own, so that no option of a developer's build gets in.
build() { # PRESET TREE
  run_quietly "== $1: configure" cmake --preset "$1" -B "$2" \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF -DVORN_BUILD_BENCH=ON
  run_quietly "== $1: build" cmake --build "$2" --target vorn_instructions
}

require_packages "${build_packages[@]}" "${armhf_packages[@]}" "${instruction_packages[@]}"
scripts/sysroot.sh armhf
native=build/instructions/x86_64
device=build/instructions/armhf
build release "$native"
build armhf "$device"

libraries=/usr/arm-linux-gnueabihf/lib:$PWD/build/sysroot/armhf/usr/lib/arm-linux-gnueabihf
libraries+=:$PWD/$device/src:$PWD/$device/platform
emulator=(qemu-arm -L /usr/arm-linux-gnueabihf -E "LD_LIBRARY_PATH=$libraries"
  -E VORN_DLOG_PRIORITY=S)
python3 scripts/lib/instructions.py "$1" bench/instructions.txt \
  "$native/bench/instructions/vorn_instructions" "$device/bench/instructions/vorn_instructions" \
  "${emulator[@]}"
