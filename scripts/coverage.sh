#!/usr/bin/env bash
# Measures the lines and branches of src/ that the tests of the release build reach, and
# fails below the thresholds. The report is build/coverage/index.html:
#
#   scripts/coverage.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments '' "$@"
require_packages "${test_packages[@]}" "${coverage_packages[@]}"

build=$PWD/build/coverage
build_preset release
rm -rf "$build"
build_preset coverage
# The tests that run the library in their own process load the instrumented one. A part of
# the injected failures reaches every branch.
LD_LIBRARY_PATH=$build/src:$build/platform VORN_TEST_STRIDE=8 run_quietly '== coverage: test' \
  ctest --preset release -L '^(unit|heap|leaks|threads|fault|stress)$'
# Where an inline function is never called, gcov does not mark what only an exception takes.
gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches \
  --exclude-branches-by-pattern '.*m_mutex\.Lock\(\);.*' --html-details "$build/index.html" \
  --print-summary --fail-under-line 100 --fail-under-branch 100 "$build"
