#!/usr/bin/env bash
# Compares the built library's binary interface with the reviewed references, and
# shows that the comparison notices each way of breaking them: it is made on a copy
# of the sources with one small edit, built like the library. The case
# unchanged_copy makes the copy; the others then build only what they edit, and so
# must not run at the same time.
# Use: abi_test.sh CASE SOURCE_DIRECTORY ARCHITECTURE LIBRARY COPY_DIRECTORY STRIP
#   [CMAKE_ARGUMENT...]
set -euo pipefail

case=$1
source=$2
architecture=$3
library=$4
copy=$5
strip=$6
cmake_arguments=("${@:7}")

# shellcheck source=scripts/lib/abi.sh
source "$source/scripts/lib/abi.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$case: $1" >&2
  exit 1
}

# --- The copy --------------------------------------------------------------------

copied=(CMakeLists.txt cmake include platform src)

configure_copy() {
  local entry
  rm -rf "$copy"
  mkdir -p "$copy/source"
  for entry in "${copied[@]}"; do
    cp -r "$source/$entry" "$copy/source"
  done
  cmake -S "$copy/source" -B "$copy/build" "${cmake_arguments[@]}" \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "the copy cannot be configured"
  }
}

# Takes the edits of an earlier case back.
restore_copy() {
  local file
  while read -r file; do
    cmp -s "$source/$file" "$copy/source/$file" || cp "$source/$file" "$copy/source/$file"
  done < <(cd "$source" && find "${copied[@]}" -type f)
}

edit() { # FILE SED_SCRIPT
  sed -i "$2" "$copy/source/$1"
  if cmp -s "$source/$1" "$copy/source/$1"; then
    fail "the edit did not change $1"
  fi
}

build_copy() {
  cmake --build "$copy/build" --target vorndatabase --parallel 2 >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    fail "the copy does not build"
  }
  library=$copy/build/src/libvorndatabase.so
}

# --- What the check says ---------------------------------------------------------

# expect_failure TEXT...: the check fails and its output has each of these texts.
expect_failure() {
  local text
  if abi_check "$architecture" "$library" >"$work/output" 2>&1; then
    fail "the check should have failed"
  fi
  cat "$work/output"
  for text in "$@"; do
    grep -qF -- "$text" "$work/output" || fail "the check should say '$text'"
  done
}

expect_break() {
  expect_failure "$@" "scripts/abi.sh update"
}

# For what only the types tell.
expect_same_symbols() {
  abi_compare_symbols "$library" >&2 || fail "the symbols should be the same"
}

# --- The cases -------------------------------------------------------------------

case_reference() {
  abi_check "$architecture" "$library"
}

# Neither the folder of the sources nor that of the build shows.
case_unchanged_copy() {
  abi_describe "$library" >"$work/expected"
  configure_copy
  build_copy
  abi_check "$architecture" "$library"
  diff -u "$work/expected" <(abi_describe "$library") || fail "the copy is described differently"
}

case_break_removed_symbol() {
  restore_copy
  edit include/Cursor.h '/^  void ShowDataLog();$/d'
  edit src/Cursor.cpp '/^void Cursor::ShowDataLog() {}$/d'
  build_copy
  expect_break "-Cursor::ShowDataLog()" "[D] 'method void Cursor::ShowDataLog()'"
}

case_break_added_symbol() {
  restore_copy
  edit include/Cursor.h 's/^  int GetCount();$/&\n  int CountColumns();/'
  edit src/Cursor.cpp 's/^int Cursor::GetPosition() .*/&\nint Cursor::CountColumns() { return 0; }/'
  build_copy
  expect_break "+Cursor::CountColumns()" "[A] 'method int Cursor::CountColumns()'"
}

case_break_changed_parameter() {
  restore_copy
  edit include/Cursor.h 's/MoveToPosition(int position)/MoveToPosition(long position)/'
  edit src/Cursor.cpp 's/MoveToPosition(int position)/MoveToPosition(long position)/'
  build_copy
  expect_break "-Cursor::MoveToPosition(int)" "+Cursor::MoveToPosition(long)" \
    "[D] 'method int Cursor::MoveToPosition(int)'" \
    "[A] 'method int Cursor::MoveToPosition(long int)'"
}

case_break_changed_result() {
  restore_copy
  edit include/Cursor.h 's/^  int GetPosition();$/  long GetPosition();/'
  edit src/Cursor.cpp 's/^int Cursor::GetPosition()/long Cursor::GetPosition()/'
  build_copy
  expect_same_symbols
  expect_break "'method int Cursor::GetPosition()' has some sub-type changes" \
    "return type changed" "type name changed from 'int' to 'long int'"
}

# Both are of one type, so that the object's size stays.
case_break_swapped_members() {
  restore_copy
  edit include/JoinRequest.h '/^  char\* m_leftTable /{h;d}; /^  char\* m_leftColumn /G'
  build_copy
  expect_same_symbols
  expect_break "'class JoinRequest' changed" "'char* m_leftTable' offset changed" \
    "'char* m_leftColumn' offset changed"
}

# Where a pointer has 64 bits, the object has room for it and keeps its size.
case_break_added_member() {
  restore_copy
  edit include/Cursor.h 's/^  std::int32_t m_position .*/&\n  std::int32_t m_extra = 0;/'
  build_copy
  expect_same_symbols
  expect_break "'class Cursor' changed" "1 data member insertion" "'int32_t m_extra', at offset"
}

# As the linker and the object's size see it, nothing happens here.
case_break_renamed_member() {
  restore_copy
  edit include/Cursor.h 's/ m_position / m_place /'
  edit src/Cursor.cpp 's/m_position/m_place/g'
  build_copy
  expect_same_symbols
  expect_break "name of 'Cursor::m_position' changed to 'Cursor::m_place'"
}

case_break_changed_member() {
  restore_copy
  edit include/Cursor.h 's/^  std::int32_t m_position /  std::uint32_t m_position /'
  build_copy
  expect_same_symbols
  expect_break "type 'typedef int32_t' of 'Cursor::m_position' changed" \
    "type name changed from 'int' to 'unsigned int'"
}

case_break_virtual_function() {
  restore_copy
  edit include/Cursor.h 's/^  int GetCount();$/  virtual int GetCount();/'
  build_copy
  expect_same_symbols
  expect_break "method int Cursor::GetCount() is now declared virtual" \
    "ABI incompatible change to the vtable of class Cursor"
}

case_other_architecture() {
  local built=$architecture
  for architecture in "${abi_architectures[@]}"; do
    if [[ $architecture != "$built" ]]; then
      expect_failure "$architecture: $library is built for $built"
    fi
  done
}

case_no_debug_information() {
  "$strip" --strip-debug -o "$work/stripped.so" "$library"
  library=$work/stripped.so
  expect_failure "$work/stripped.so has no debug information"
}

case_usage() {
  local line status
  for line in '' 'compare' 'check mips' 'update x86_64 mips'; do
    status=0
    # shellcheck disable=SC2086 # its words are the arguments
    "$source/scripts/abi.sh" $line >"$work/output" 2>"$work/errors" || status=$?
    [[ $status -eq 2 ]] || fail "'abi.sh $line' ends with status $status"
    [[ ! -s $work/output ]] || fail "'abi.sh $line' prints to standard output"
    grep -q '^usage: scripts/abi.sh ' "$work/errors" || fail "'abi.sh $line' does not tell its usage"
  done
}

declare -F "case_$case" >/dev/null || fail "there is no such case"
"case_$case"
echo "$case: as expected"
