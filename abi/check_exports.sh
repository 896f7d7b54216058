#!/usr/bin/env bash
# Checks what the built library shows to the linker: its exported symbols, its
# name, the libraries it needs, and that calls to its own members are bound.
# Use: check_exports.sh LIBRARY SOURCE_DIRECTORY CASE [FORTIFIED [SHIPPED]]
set -euo pipefail

library=$1
source=$2
case=$3
fortified=${4:-1}
shipped=${5:-1}

# shellcheck source=scripts/lib/abi.sh
source "$source/scripts/lib/abi.sh"
expected=$source/abi/symbols.txt

fail() {
  echo "$(basename "$library"): $1" >&2
  exit 1
}

check_symbols() {
  abi_compare_symbols "$library" || fail "the exported symbols differ from abi/symbols.txt"
}

# Members of other classes are undefined symbols, bound through the procedure
# linkage table; ours must not be among them.
check_own_calls() {
  local classes
  classes=$(sed -nE 's/^vtable for (.*)$/\1/p' "$expected" | paste -sd'|')
  [ -n "$classes" ] || fail "no class in abi/symbols.txt"
  local calls
  calls=$(readelf -rW "$library" | c++filt | grep -E 'JUMP_SLO|PLT')
  if grep -E " (Database|$classes)::" <<<"$calls"; then
    fail "calls to its own members go through the procedure linkage table"
  fi
  grep -q ' sqlite3_open' <<<"$calls" ||
    fail "no call to sqlite3_open is bound at run time; is this check looking at the right thing?"
}

# The virtual tables hold the destructor's two entries behind their two words of
# heading, and nothing else.
check_vtables() {
  local word=8 tables
  grep -q 'Class: *ELF32' <<<"$(readelf -h "$library")" && word=4
  tables=$(nm -DCS --defined-only "$library" |
    sed -nE 's/^[0-9a-f]+ 0*([0-9a-f]+) . vtable for (.*)$/\1 \2/p')
  [ "$(wc -l <<<"$tables")" -eq 12 ] || fail "it should export 12 virtual tables"
  if grep -v "^$(printf %x $((4 * word))) " <<<"$tables"; then
    fail "a virtual table holds more than the destructor"
  fi
}

# What it asks of SQLite and of the platform is this and no more; it reads no
# configuration and starts no thread.
check_imports() {
  local imports
  imports=$(nm -DC --undefined-only "$library" | sed -E 's/^ *[A-Za-z] //; s/@.*//')
  diff -u "$source/abi/imports.txt" \
    <(grep -E '^(sqlite3_|Vorn|__dlog|usleep)' <<<"$imports" | LC_ALL=C sort) ||
    fail "the functions that it needs differ from imports.txt"
  if grep -E '^(secure_)?getenv$|^setlocale$|^f?open(64)?$|^pthread_create$' <<<"$imports"; then
    fail "it reads a configuration or starts a thread"
  fi
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

# What protects it at run time. Unoptimised and sanitized builds do without the C
# library's checks. What GCC protects the stack with, it tells in the debug
# information alone.
check_hardening() {
  local segments dynamic imports producers
  segments=$(readelf -lW "$library")
  dynamic=$(readelf -dW "$library")
  imports=$(nm -D --undefined-only "$library")
  grep -q 'GNU_RELRO' <<<"$segments" || fail "its relocations stay writable"
  grep -qE '\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW' <<<"$dynamic" || fail "it is not bound when it is loaded"
  grep -qE 'GNU_STACK.* RW +0x' <<<"$segments" || fail "its stack may be executed"
  if grep -q 'TEXTREL' <<<"$dynamic"; then
    fail "its code is relocated"
  fi
  if grep -qE 'LOAD.* RWE ' <<<"$segments"; then
    fail "it has memory that may be both written and executed"
  fi
  grep -q ' __stack_chk_fail' <<<"$imports" || fail "its stack is not protected"
  producers=$(readelf --debug-dump=info "$library" 2>/dev/null | grep 'DW_AT_producer .*GNU C++') || true
  if [ -z "$producers" ]; then
    ((!shipped)) || fail "it has no debug information that tells how its stack is protected"
  elif grep -v -e '-fstack-protector-strong.*-fstack-clash-protection' \
    -e '-fstack-clash-protection.*-fstack-protector-strong' <<<"$producers"; then
    fail "the stack of the code above is not protected as it should be"
  fi
  if ((fortified)); then
    grep -qE ' __v?snprintf_chk' <<<"$imports" || fail "its calls of the C library are not checked"
  fi
}

case $case in
  symbols) check_symbols ;;
  own_calls) check_own_calls ;;
  dynamic) check_dynamic ;;
  vtables) check_vtables ;;
  imports) check_imports ;;
  hardening) check_hardening ;;
  *) fail "unknown case '$case'" ;;
esac
echo "$case: as expected"
