#!/usr/bin/env bash
# Checks the binary interface of a built library, or rewrites the reviewed reference:
#
#   abi/check.sh CASE LIBRARY        CASE is symbols, types, ...: a function below
#   abi/check.sh alignment COMPILER
#   abi/check.sh update              builds the library as it is shipped, and describes it

set -euo pipefail
shopt -s inherit_errexit
export LC_ALL=C

here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
reference=$here/libvorndatabase.abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "${library##*/}: $1" >&2
  exit 1
}

# Prints the interface of the library as a corpus. Types are named by a hash, so that a
# change leaves the other lines alone. Paths of sources lose the folder of the build.
describe() {
  grep -q ' \.debug_info ' <<<"$(readelf -SW "$library")" || fail 'it has no debug information'
  abidw --exported-interfaces-only --headers-dir "$here/../include" --drop-private-types \
    --suppressions "$here/standard_library.suppr" --type-id-style hash \
    --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed "$library" |
    sed -E "s|^(  <abi-instr .* path=')[^']*/src/|\1src/|"
}

# Every architecture exports the same symbols.
check_symbols() {
  sed -nE "s/^ *<elf-symbol name='([^']+)'.*/\1/p" "$reference" | sort -u >"$work/reviewed"
  nm -D --defined-only "$library" | awk '{ print $3 }' | sort >"$work/built"
  diff -u <(c++filt <"$work/reviewed") <(c++filt <"$work/built") ||
    fail 'the exported symbols differ from the reference'
}

# Changes that libabigail calls harmless fail, too, such as another name of a member.
check_types() {
  local architecture
  describe >"$work/built.abi"
  architecture=$(sed -nE "1s/.* (architecture='[^']+').*/\1/p" "$work/built.abi")
  sed -n "/<abi-corpus .*$architecture/,/<\/abi-corpus>/p" "$reference" >"$work/reviewed.abi"
  [[ -s $work/reviewed.abi ]] || fail "the reference has no corpus with $architecture"
  abidiff --harmless "$work/reviewed.abi" "$work/built.abi" ||
    fail 'the interface differs from the reference; abi/README.md describes how to change it'
}

# libabigail compares neither alignments nor whether a class is final. Every class is as
# aligned as its virtual table's address, or has no data, and hosts may derive from it.
check_alignment() {
  local header class
  for header in "$here"/../include/*.h; do
    class=$(basename "$header" .h)
    echo "#include \"$header\""
    echo "static_assert(alignof($class) == (std::is_empty_v<$class> ? 1 : alignof(void*)));"
    echo "static_assert(!std::is_final_v<$class>);"
  done | "$compiler" -std=c++17 -fsyntax-only -include type_traits -x c++ -
}

# Calls to its own members are bound when the library is linked.
check_own_calls() {
  local relocated
  relocated=$(readelf -rW "$library" | awk '$3 ~ /^R_/ { print $5 }' | sort -u)
  grep -qx 'sqlite3_open\(@.*\)\?' <<<"$relocated" || fail 'sqlite3_open is not bound at run time'
  nm -D --defined-only "$library" | awk '$2 ~ /[TW]/ { print $3 }' | sort >"$work/functions"
  ! comm -12 "$work/functions" - <<<"$relocated" | c++filt | grep . ||
    fail 'its own functions above are bound at run time'
}

# It reads no configuration and starts no thread.
check_imports() {
  nm -DC --undefined-only "$library" | sed -E 's/^ *[A-Za-z] //; s/@.*//' | sort >"$work/imports"
  diff -u "$here/imports.txt" <(grep -E '^(sqlite3_|Vorn|__dlog|usleep)' "$work/imports") ||
    fail 'the functions that it needs of SQLite and the platform differ from abi/imports.txt'
  ! grep -E '^((secure_)?getenv|setlocale|f?open(64)?|pthread_create)$' "$work/imports" ||
    fail 'it reads a configuration or starts a thread'
}

check_dynamic() {
  local pattern
  [[ ${library##*/} == libvorndatabase.so ]] || fail 'its file name is wrong'
  for pattern in 'SONAME.*\[libvorndatabase\.so\]' 'NEEDED.*\[libsqlite3\.so\.[0-9]+\]' \
    'NEEDED.*\[libvornutil\.so\]' 'NEEDED.*\[libdlog\.so\]'; do
    grep -qE "$pattern" <<<"$(readelf -dW "$library")" || fail "it lacks $pattern"
  done
}

check_hardening() {
  readelf -lWd "$library" >"$work/elf"
  grep -q 'GNU_RELRO' "$work/elf" || fail 'its relocations stay writable'
  grep -qE '\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW' "$work/elf" || fail 'it is not bound when it is loaded'
  grep -qE 'GNU_STACK.* RW +0x' "$work/elf" || fail 'its stack may be executed'
  ! grep 'TEXTREL' "$work/elf" || fail 'its code is relocated'
  ! grep -E 'LOAD.* RWE ' "$work/elf" || fail 'it has memory that is writable and executable'
  grep -q ' __stack_chk_fail' <<<"$(nm -D "$library")" || fail 'its stack is not protected'
}

check_fortified() {
  grep -qE ' U __v?snprintf_chk' <<<"$(nm -D "$library")" || fail 'its calls of the C library are not checked'
}

# GCC records in the debug information alone how it protects the stack.
check_stack_protector() {
  readelf --debug-dump=info "$library" 2>/dev/null | grep 'DW_AT_producer .*GNU C++' >"$work/producers" ||
    fail 'its debug information names no compiler'
  ! grep -v -e -fstack-protector-strong "$work/producers" || fail 'the stack of this code is not protected'
  ! grep -v -e -fstack-clash-protection "$work/producers" || fail 'the stack of this code may clash'
}

# Folders of their own keep the options of a developer's build out.
update() (
  cd "$here/.."
  # shellcheck source=scripts/lib/packages.sh
  source scripts/lib/packages.sh
  require_packages "${build_packages[@]}" "${armhf_packages[@]}" abigail-tools
  scripts/sysroot.sh armhf
  echo "<abi-corpus-group version='2.1'>" >"$work/group"
  for preset in release armhf; do
    library=build/abi/$preset/src/libvorndatabase.so
    run_quietly "== $preset: configure" cmake --preset "$preset" -B "build/abi/$preset" \
      "${library_alone[@]}"
    run_quietly "== $preset: build" cmake --build "build/abi/$preset" --target vorndatabase
    describe >>"$work/group"
  done
  echo '</abi-corpus-group>' >>"$work/group"
  cp "$work/group" "$reference"
)

if [[ $#:${1:-} == 1:update ]]; then
  update
elif (($# == 2)) && declare -F "check_$1" >/dev/null; then
  library=$2 compiler=$2
  "check_$1"
else
  sed -n '2,6s/^# \?//p' "${BASH_SOURCE[0]}" >&2
  exit 2
fi
