#!/usr/bin/env bash
# Runs the programs of docs/guide.md, and compares the document with them.
#
# Usage: guide_test.sh CASE SOURCE_DIRECTORY PROGRAM_DIRECTORY
#
# CASE is what follows "output" in a line "<!-- output … -->" of the document, with an
# underscore for the blank, or one of the cases below. If VORN_EMULATOR is set, that
# command runs the programs.
set -euo pipefail
export LC_ALL=C

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

[[ $# -eq 3 ]] || fail "usage: $0 CASE SOURCE_DIRECTORY PROGRAM_DIRECTORY"
readonly test_case=$1 source=$2 programs=$3
readonly guide=$source/docs/guide.md
# shellcheck source=scripts/lib/documents.sh
source "$source/scripts/lib/documents.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly work

# --- The programs ----------------------------------------------------------------

# sample PROGRAM [ARGUMENT]
sample() {
  local status=0
  block_of "$guide" "output $*" >"$work/expected" || fail "the guide has no block 'output $*'"
  run_program "$programs" "$@" >"$work/output" 2>"$work/errors" || status=$?
  [[ $status -eq 0 ]] || fail "exit status $status of guide_$*: $(<"$work/errors")"
  [[ ! -s $work/errors ]] || fail "guide_$* complains: $(<"$work/errors")"
  diff -u --label "docs/guide.md, output $*" --label "guide_$*" "$work/expected" "$work/output" ||
    fail "the guide shows something else than guide_$* prints; see scripts/guide.sh"
}

# --- The document ----------------------------------------------------------------

case_includes() {
  "$source/scripts/guide.sh" check
}

expect_notice() { # TEXT, of the changed copy
  local status=0
  "$source/scripts/guide.sh" check "$work/guide.md" >"$work/output" 2>&1 || status=$?
  [[ $status -eq 1 ]] || fail "exit status $status where '$1' is to be noticed"
  grep -qF -e "$1" "$work/output" || fail "no '$1' in: $(<"$work/output")"
}

# change SED_SCRIPT: makes a copy of the guide that differs.
change() {
  sed -E "$1" "$guide" >"$work/guide.md"
  ! cmp -s "$guide" "$work/guide.md" || fail "nothing is changed by $1"
}

# The check can fail, and says why.
case_changes_are_noticed() {
  change '0,/^#include <string>$/s//#include <cstring>/'
  expect_notice "-#include <cstring>"
  expect_notice "run scripts/guide.sh update"
  change '0,/^#include <string>$/{//d}'
  expect_notice "+#include <string>"
  change 's|^(<!-- include examples/guide/)create(\.cpp -->)$|\1nothing\2|'
  expect_notice "there is no file examples/guide/nothing.cpp"
  change 's|^(<!-- include examples/guide/safe\.h )quoting( -->)$|\1nothing\2|'
  expect_notice "examples/guide/safe.h has no region nothing"
  change 's|^<!-- include examples/guide/create\.cpp -->$|&\n|'
  expect_notice "no block begins behind <!-- include examples/guide/create.cpp -->"
  change 's|^<!-- include .*||'
  expect_notice "includes nothing"
}

# Every program is shown with what it prints, and every file somewhere.
case_complete() {
  local program edge file
  while read -r program; do
    marks "$guide" output | grep -qx "${program#guide_}" || fail "the guide has no output of $program"
  done < <(find "$programs" -maxdepth 1 -type f -perm -u+x -name 'guide_*' -not -name guide_edges \
    -printf '%f\n')
  for edge in $(run_program "$programs" edges 2>&1 | sed 's/.*, one of//'); do
    marks "$guide" output | grep -qx "edges $edge" || fail "the guide has no output of guide_edges $edge"
  done
  while read -r file; do
    marks "$guide" include | grep -qE "^$file( |\$)" || fail "the guide includes nothing of $file"
  done < <(cd "$source" && find examples/guide examples/contacts -name '*.cpp' -not -name main.cpp)
}

case $test_case in
  includes | changes_are_noticed | complete) "case_$test_case" ;;
  edges_*) sample edges "${test_case#edges_}" ;;
  threads | processes)
    # Writes that had to wait leave error texts allocated (docs/reliability.md).
    export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
    sample "$test_case"
    ;;
  *) sample "$test_case" ;;
esac
