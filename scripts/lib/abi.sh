# shellcheck shell=bash
# Sourced by scripts/abi.sh and by the tests: the one place that describes a built
# library's binary interface and compares it with the references in abi/.
#
#   abi_symbols LIBRARY              prints its exported symbols, one per line
#   abi_describe LIBRARY             prints its interface as the references hold it
#   abi_check ARCHITECTURE LIBRARY   compares it with the references; prints what
#                                    differs and what to do, and fails

abi_root=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd)
# shellcheck disable=SC2034 # for those that source this
abi_architectures=(x86_64 armhf armel)

# Both ARM interfaces are one architecture to libabigail; they differ in how
# floating-point arguments are passed, which is written in the ELF header.
abi_architecture() {
  local header
  header=$(LC_ALL=C readelf -hW "$1") || return 1
  case $header in
    *'Class: '*ELF64*'Machine: '*X86-64*) echo x86_64 ;;
    *'Machine: '*ARM*'Flags: '*hard-float*) echo armhf ;;
    *'Machine: '*ARM*'Flags: '*soft-float*) echo armel ;;
    *) echo 'another architecture' ;;
  esac
}

abi_symbols() {
  nm -DC --defined-only "$1" | sed -E 's/^[0-9a-f]+ . //' | LC_ALL=C sort
}

# Types have their hash for a name, so that a change leaves the other lines alone.
# Of the sources' places the folder is cut off.
abi_describe() {
  abidw --exported-interfaces-only --headers-dir "$abi_root/include" --drop-private-types \
    --suppressions "$abi_root/abi/standard_library.suppr" --type-id-style hash \
    --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed "$1" |
    sed -E "s|^(  <abi-instr .* path=')[^']*/src/|\1src/|"
}

# Whether the library is one that can be described.
abi_require_library() { # ARCHITECTURE LIBRARY
  local architecture
  if [[ ! -r $2 ]]; then
    echo "$1: there is no library $2" >&2
    return 1
  fi
  architecture=$(abi_architecture "$2") || return 1
  if [[ $architecture != "$1" ]]; then
    echo "$1: $2 is built for $architecture" >&2
    return 1
  fi
  if ! grep -q ' \.debug_info ' <<<"$(readelf -SW "$2")"; then
    echo "$1: $2 has no debug information, without which its types are unknown" >&2
    return 1
  fi
}

abi_compare_symbols() { # LIBRARY
  diff -u --label abi/symbols.txt --label "exported by ${1##*/}" \
    "$abi_root/abi/symbols.txt" <(abi_symbols "$1")
}

# Also what libabigail takes for harmless, such as a member's other name, fails.
abi_compare_types() ( # ARCHITECTURE LIBRARY
  reference=$abi_root/abi/$1.abi
  if [[ ! -r $reference ]]; then
    echo "There is no abi/$1.abi."
    exit 1
  fi
  described=$(mktemp)
  trap 'rm -f "$described"' EXIT
  abi_describe "$2" >"$described" || exit 1
  difference=$(abidiff --leaf-changes-only --harmless "$reference" "$described") || {
    printf '%s\n' "$difference"
    exit 1
  }
)

abi_check() { # ARCHITECTURE LIBRARY
  local architecture=$1 library=$2 same=1
  abi_require_library "$architecture" "$library" || return 1
  abi_compare_symbols "$library" || same=0
  abi_compare_types "$architecture" "$library" || same=0
  if ((!same)); then
    {
      echo "$architecture: the binary interface differs from abi/, as shown above."
      echo "Programs that were compiled against the library may break. If the change is meant,"
      echo "rewrite the references with scripts/abi.sh update, and have their change reviewed."
    } >&2
    return 1
  fi
  echo "$architecture: the binary interface is that of abi/"
}
