#!/usr/bin/env bash
# Checks what the built library shows to the linker: its exported symbols, its
# name, the libraries it needs, and that calls to its own members are bound.
# Use: check_exports.sh LIBRARY EXPECTED_SYMBOLS CASE
set -euo pipefail

library=$1
expected=$2
case=$3

fail() {
  echo "$(basename "$library"): $1" >&2
  exit 1
}

check_symbols() {
  diff -u "$expected" <(nm -DC --defined-only "$library" | sed -E 's/^[0-9a-f]+ . //' |
    LC_ALL=C sort) || fail "the exported symbols differ from $(basename "$expected")"
}

# Members of other classes are undefined symbols, bound through the procedure
# linkage table; ours must not be among them.
check_own_calls() {
  local classes
  classes=$(sed -nE 's/^vtable for (.*)$/\1/p' "$expected" | paste -sd'|')
  [ -n "$classes" ] || fail "no class in $(basename "$expected")"
  local calls
  calls=$(readelf -rW "$library" | c++filt | grep -E 'JUMP_SLO|PLT')
  if grep -E " (Database|$classes)::" <<<"$calls"; then
    fail "calls to its own members go through the procedure linkage table"
  fi
  grep -q ' sqlite3_open' <<<"$calls" ||
    fail "no call to sqlite3_open is bound at run time; is this check looking at the right thing?"
}

check_dynamic() {
  local dynamic
  dynamic=$(readelf -dW "$library")
  [ "$(basename "$library")" = libvorndatabase.so ] || fail "its file name is wrong"
  grep -q 'SONAME.*\[libvorndatabase\.so\]' <<<"$dynamic" || fail "its SONAME is wrong"
  for needed in 'libsqlite3\.so\.[0-9]+' 'libvornutil\.so' 'libdlog\.so'; do
    grep -qE "NEEDED.*\[$needed\]" <<<"$dynamic" || fail "it does not need $needed"
  done
}

case $case in
  symbols) check_symbols ;;
  own_calls) check_own_calls ;;
  dynamic) check_dynamic ;;
  *) fail "unknown case '$case'" ;;
esac
echo "$case: as expected"
