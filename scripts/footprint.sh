#!/usr/bin/env bash
# Builds the library for the device, as it is shipped and optimised for size, and prints
# its cost there; fails if it exceeds a limit:
#
#   scripts/footprint.sh

set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

export LC_ALL=C
tools=arm-linux-gnueabihf-
failed=0

sections() { # NAMES: their size together
  "${tools}size" -A -d "$library" | awk -v names="^($1)\$" '$1 ~ names { total += $2 } END { print total + 0 }'
}

relocations() {
  "${tools}readelf" -rW "$library" | awk '$3 ~ /^R_ARM_/ { total++; count[$3]++ }
    END {
      functions = count["R_ARM_JUMP_SLOT"]; relative = count["R_ARM_RELATIVE"]
      printf "%d (%d relative, %d of functions, %d of other symbols)", total, relative, functions,
        total - relative - functions
      exit !total
    }'
}

# A function may have several names, such as a constructor.
largest_functions() {
  local text='std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >'
  "${tools}nm" --print-size --size-sort --reverse-sort --radix=d --demangle --defined-only "$library" |
    sed -E "s/$text/std::string/g; s/ \[clone .*//" |
    awk '$3 ~ /^[tTwW]$/ && !seen[$1]++ && ++lines <= 5 {
      size = $2 + 0
      sub(/^[^ ]+ [^ ]+ . /, "")
      if (length > 80) $0 = substr($0, 1, 76) " ..."
      printf "    %6d  %s\n", size, $0
    }'
}

# Memory that is written after loading, but for the two words that the compiler puts into
# every shared library.
writable() {
  "${tools}nm" --defined-only --format=sysv "$library" | awk -F '|' '{ gsub(/ /, "") }
    $4 == "OBJECT" && $5 != "" && $7 ~ /^\.t?(data|bss)$/ && $1 !~ /^(__dso_handle|completed\.[0-9]+)$/ { print $1 }'
  # Constants may have no name there.
  (($(sections '\.t?(data|bss)') <= 8)) || sections '\.t?(data|bss)'
}

# In a folder of its own, without the options of a developer's build.
report() { # PRESET TITLE LIMIT
  local tree=build/footprint/$1 library size written constructors relocated
  library=$tree/src/libvorndatabase.so
  run_quietly "== $1: configure" cmake --preset "$1" -B "$tree" "${library_alone[@]}"
  run_quietly "== $1: build" cmake --build "$tree" --target vorndatabase
  "${tools}strip" -o "$library.stripped" "$library"
  size=$(stat -c %s "$library.stripped")
  written=$(writable)
  relocated=$(relocations)
  # The first entry is the compiler's own.
  constructors=$(($(sections '\.init_array|\.ctors') / 4 - 1))
  cat <<REPORT
$2
  stripped file       $size bytes, of at most $3
  text, data, bss     $("${tools}size" "$library" | awk 'NR == 2 { print $1 ", " $2 ", " $3 }') bytes
  writable data       ${written:-none}
  static constructors $constructors
  relocations         $relocated
  largest functions
$(largest_functions)
REPORT
  if ((size > $3 || constructors > 0)) || [[ -n $written ]]; then
    echo "footprint.sh: $1 is too large, has writable data, or runs code when it is loaded" >&2
    failed=1
  fi
}

require_arguments '' "$@"
require_packages "${build_packages[@]}" "${armhf_packages[@]}"
scripts/sysroot.sh armhf
report armhf 'armhf, -O2' $((64 * 1024))
report armhf-small 'armhf, -Os' $((48 * 1024))
exit "$failed"
