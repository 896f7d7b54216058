#!/usr/bin/env bash
# Runs the tests and tells which lines and branches of src/ they reach; fails when a
# line is left out, or a branch that tests/coverage/left_out.txt does not list with its
# reason. The report is build/coverage/coverage.html:
#
#   scripts/coverage.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

if (($# > 0)); then
  echo 'usage: scripts/coverage.sh' >&2
  exit 2
fi
build=build/coverage
counts=$build/coverage.json
export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1

require_packages "${test_packages[@]}" "${coverage_packages[@]}"
run_quietly '== coverage: configure' cmake --preset coverage
run_quietly '== coverage: build' cmake --build --preset coverage
# Counters of earlier runs, and of listing the tests, would add to this one's.
find "$build" -name '*.gcda' -delete
# The tests that run the library in their own process.
run_quietly '== coverage: test' \
  ctest --preset coverage -L '^(unit|heap|leaks|threads|fault|stress)$'
run_quietly '== coverage: count' gcovr --root . --filter src/ \
  --exclude-throw-branches --exclude-unreachable-branches --json "$counts" "$build"

gcovr --root . --add-tracefile "$counts" --html-details "$build/coverage.html"
echo '== coverage: lines'
gcovr --root . --add-tracefile "$counts" --fail-under-line 100
echo '== coverage: branches'
python3 scripts/lib/branches.py "$build"
