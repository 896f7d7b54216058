#!/usr/bin/env bash
# Runs the tests on this machine:
#
#   scripts/test.sh        all tests of the release build
#   scripts/test.sh arm    the tests for 32-bit ARM under emulation
#   scripts/test.sh all    everything that CI runs
#   scripts/test.sh rest   all, without the tests of the release build

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

# The tests compare texts of tools and compilers.
export LC_ALL=C.UTF-8

# The summary alone; the log has every test.
run_ctest() { # PRESET
  local log=build/$1/tests.log
  if run_quietly "$1: test" without_randomization ctest --preset "$1" --quiet --output-log "$log"; then
    grep -E '^[0-9]+% tests passed' "$log"
  else
    awk '/\*\*\*/ { shown = 1 } / Passed +[0-9.]+ sec/ { shown = 0 }
      /^[0-9]+% tests passed/ { shown = 1 } shown' "$log" >&2
    return 1
  fi
}

run_suite() { # PRESET
  if [[ $1 == arm* ]]; then
    scripts/sysroot.sh "$1"
  fi
  build_preset "$1"
  run_ctest "$1"
}

# The packaged file is the tested one, to the byte.
expect_tested() { # PRESET ARCHITECTURE FILE
  cmp "build/$1/$3" "build/packages/tree/$2/$3"
}

run_rest() {
  local preset
  scripts/lint.sh
  # Linked with link-time optimisation, which compares the types of all sources.
  build_preset odr
  for preset in armhf armel asan tsan; do
    run_suite "$preset"
  done
  scripts/coverage.sh
  scripts/docs.sh
  scripts/footprint.sh
  scripts/instructions.sh check
  scripts/bench.sh --check
  scripts/package.sh
  scripts/package.sh check
  expect_tested release amd64 src/libvorndatabase.so
  expect_tested release amd64 tools/vorndb/vorndb
  expect_tested release amd64 tools/vorncheck/libvorncheck.so
  expect_tested armhf armhf src/libvorndatabase.so
  expect_tested armhf armhf tools/vorncheck/libvorncheck.so
  scripts/reproducible.sh made armhf
}

require_arguments '|arm|all|rest' "$@"
packages=("${test_packages[@]}")
case ${1:-} in
  arm) packages+=("${arm_packages[@]}") ;;
  # The scripts that are run install the rest.
  all | rest) packages+=("${arm_packages[@]}" "${fuzz_packages[@]}") ;;
esac
require_packages "${packages[@]}"
case ${1:-} in
  '') run_suite release ;;
  arm)
    run_suite armhf
    run_suite armel
    ;;
  all)
    run_suite release
    run_rest
    ;;
  rest) run_rest ;;
esac
