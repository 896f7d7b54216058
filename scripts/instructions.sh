#!/usr/bin/env bash
# Counts the instructions of an upsert, a select, a typed read, a log record and a lock, as
# the library is shipped, on x86-64 and on the device's processor:
#
#   scripts/instructions.sh check   fails when they differ by 3 % from bench/instructions.txt
#   scripts/instructions.sh update  writes them there, to be reviewed

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments 'check|update' "$@"
require_packages "${build_packages[@]}" "${instruction_packages[@]}"

scripts/sysroot.sh armhf
# In folders of their own, so that no option of a developer's build gets in.
for machine in x86_64 armhf; do
  build=build/instructions/$machine
  run_quietly "== $machine: configure" cmake --preset "${machine/x86_64/release}" -B "$build" \
    "${library_alone[@]}" -DVORN_BUILD_BENCH=ON
  run_quietly "== $machine: build" cmake --build "$build" --target vorn_instructions
done
echo '== instructions: count'
exec python3 -B scripts/lib/instructions.py "$1" bench/instructions.txt build/instructions
