#!/usr/bin/env bash
# Compiles the assertions about a class, and compares the virtual table that the
# compiler lays out for it with the only one it may have: the destructor's two
# entries. (No C++ expression counts virtual functions; the compilers' dumps do.)
# Use: check_layout.sh COMPILER COMPILER_ID INCLUDE_DIRECTORY CLASS [FLAG...]
set -euo pipefail

if (($# < 4)); then
  echo "usage: $0 COMPILER COMPILER_ID INCLUDE_DIRECTORY CLASS [FLAG...]" >&2
  exit 2
fi
compiler=$1
id=$2
include=$(realpath "$3")
class=$4
flags=("${@:5}" -std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
assertions=$(realpath "$(dirname "${BASH_SOURCE[0]}")")/$class.cpp

# Whatever else the flags make the compiler write, such as notes for coverage.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# compile SOURCE_TEXT FLAG...
compile() {
  (cd "$work" && "$compiler" "${flags[@]}" "${@:2}" -I "$include" -x c++ - <<<"$1") || {
    echo "$class is not laid out as $(basename "$assertions") tells, see above" >&2
    exit 1
  }
}

laid_out_by_GNU() {
  compile "#include \"$assertions\"" -fsyntax-only -fdump-lang-class=- |
    sed -nE "/^Vtable for $class\$/,/^\$/ { s/^[0-9]+ +\(int \(\*\)\(\.\.\.\)\)//; /./p }"
}
expected_from_GNU() {
  printf '%s\n' "Vtable for $class" "$class::_ZTV${#class}$class: 4 entries" \
    "0" "(& _ZTI${#class}$class)" "$class::~$class" "$class::~$class"
}

# Clang lays out the tables that it emits: here, since the destructor is here.
laid_out_by_Clang() {
  compile "#include \"$assertions\"
    $class::~$class() = default;" -S -o emitted.s -Xclang -fdump-vtable-layouts |
    sed -nE "/^Vtable for '$class' /,/^\$/ { s/^ *[0-9]+ \| //; / vtable address --\$/d; /./p }"
}
expected_from_Clang() {
  printf '%s\n' "Vtable for '$class' (4 entries)." \
    "offset_to_top (0)" "$class RTTI" "$class::~$class() [complete]" "$class::~$class() [deleting]"
}

case $id in
  GNU | Clang) ;;
  *)
    echo "of $compiler ($id) it is not known how it shows virtual tables; of GNU and Clang it is" >&2
    exit 1
    ;;
esac
table=$("laid_out_by_$id")
expected=
if [[ $class != Database ]]; then # the one class without a virtual table
  expected=$("expected_from_$id")
fi
diff -u --label expected --label found <(echo "$expected") <(echo "$table") || {
  echo "the virtual table of $class holds something else than the destructor" >&2
  exit 1
}
echo "$class: as expected"
