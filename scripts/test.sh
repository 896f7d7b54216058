#!/usr/bin/env bash
# Runs the tests on this machine:
#
#   scripts/test.sh        the whole suite, built as it is shipped
#   scripts/test.sh arm    the suite for 32-bit ARM under emulation, and what concerns the
#                          library itself without hardware floating point
#   scripts/test.sh all    lint, then the suite with every compiler and sanitizer and
#                          for 32-bit ARM, fuzzing, coverage, some of the mutations, the
#                          site, the footprint, the instructions, the benchmarks'
#                          results, the packages
#   scripts/test.sh rest   all, for those who have just run the suite

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage() {
  echo 'usage: scripts/test.sh [arm|all|rest]'
}

fail() {
  printf 'test.sh: failed at: %s\n' "$1" >&2
  exit 1
}

run_suite() {
  local preset=$1
  local -a wrapper=()
  if [[ $preset == ?san || $preset == fuzz ]]; then
    wrapper=(without_randomization)
  fi
  if [[ $preset == arm* ]]; then
    scripts/sysroot.sh "$preset" || fail "$preset: sysroot"
  fi
  run_quietly "== $preset: configure" cmake --preset "$preset" || fail "$preset: configure"
  # The build runs the test programs, too, to list their tests.
  run_quietly "== $preset: build" "${wrapper[@]}" cmake --build --preset "$preset" ||
    fail "$preset: build"
  echo "== $preset: test"
  "${wrapper[@]}" ctest --preset "$preset" || fail "$preset: test"
}

# The packed library is the one that was tested, to the byte.
expect_tested() { # PRESET ARCHITECTURE
  cmp "build/$1/src/libvorndatabase.so" "build/packages/tree/$2/src/libvorndatabase.so" ||
    fail "$2: the packages hold another library than was tested"
}

# All but the suite as it is shipped, whose build has to be there.
run_rest() {
  for preset in armhf armel clang asan tsan fuzz; do
    run_suite "$preset"
  done
  # Unoptimised, too.
  scripts/coverage.sh || fail coverage
  scripts/mutate.sh --sample 30 --label unit --label heap --label leaks || fail mutations
  scripts/docs.sh || fail documentation
  scripts/footprint.sh || fail footprint
  scripts/instructions.sh check || fail instructions
  scripts/bench.sh --check || fail benchmarks
  scripts/package.sh || fail packages
  scripts/package.sh check || fail 'check of the packages'
  expect_tested release amd64
  expect_tested armhf armhf
  scripts/reproducible.sh made || fail reproducibility
}

# The tests compare texts of tools and compilers.
export LC_ALL=C.UTF-8

case "$#:${1:-}" in
  0:)
    require_packages "${test_packages[@]}"
    run_suite release
    ;;
  1:arm)
    require_packages "${test_packages[@]}" "${arm_packages[@]}"
    for preset in armhf armel; do
      run_suite "$preset"
    done
    ;;
  1:all | 1:rest)
    require_packages "${test_packages[@]}" "${arm_packages[@]}" "${lint_packages[@]}" \
      "${fuzz_packages[@]}" "${coverage_packages[@]}" "${mutation_packages[@]}" \
      "${docs_packages[@]}" "${package_packages[@]}" "${bench_packages[@]}" "${peer_packages[@]}"
    scripts/lint.sh || fail lint
    if [[ $1 == all ]]; then
      run_suite release
    fi
    run_rest
    ;;
  1:-h | 1:--help)
    usage
    ;;
  *)
    usage >&2
    exit 2
    ;;
esac
