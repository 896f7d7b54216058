#!/usr/bin/env bash
# Builds the library for the device, as it is shipped and optimised for size, and
# prints what it costs there; fails when it costs more than it may:
#
#   scripts/footprint.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

if (($# > 0)); then
  echo 'usage: scripts/footprint.sh' >&2
  exit 2
fi
export LC_ALL=C
tools=arm-linux-gnueabihf-
failed=0

exceeds() {
  printf 'footprint.sh: %s: %s\n' "$1" "$2" >&2
  failed=1
}

stripped_size() {
  local work
  work=$(mktemp)
  "${tools}strip" -o "$work" "$1"
  stat -c %s "$work"
  rm "$work"
}

# Sizes of the named sections together, in bytes.
sections() {
  local library=$1 names=$2
  "${tools}size" -A -d "$library" |
    awk -v names="^($names)\$" '$1 ~ names { total += $2 } END { print total + 0 }'
}

relocations() {
  "${tools}readelf" -rW "$1" | awk '
    $3 ~ /^R_ARM_/ { total++; count[$3]++ }
    END {
      if (!total) exit 1
      printf "%d (%d relative, %d of functions, %d of other symbols)", total, count["R_ARM_RELATIVE"],
        count["R_ARM_JUMP_SLOT"], total - count["R_ARM_RELATIVE"] - count["R_ARM_JUMP_SLOT"]
    }'
}

# One function may have several names, such as a constructor's.
largest_functions() {
  "${tools}nm" --print-size --size-sort --reverse-sort --demangle --defined-only "$1" |
    awk '$3 ~ /^[tTwW]$/ && !seen[$1]++ && ++lines <= 5 {
      name = $0
      sub(/^[^ ]+ [^ ]+ . /, "", name)
      gsub(/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/,
        "std::string", name)
      sub(/ \[clone .*\]$/, "", name)
      if (length(name) > 80) name = substr(name, 1, 76) " ..."
      printf "    %6d  %s\n", decimal($2), name
    }
    function decimal(hexadecimal,    value, i) {
      for (i = 1; i <= length(hexadecimal); i++)
        value = value * 16 + index("0123456789abcdef", substr(hexadecimal, i, 1)) - 1
      return value
    }'
}

# What the library may write to after it is loaded, but for the two words that the
# compiler puts into every shared library. Constants may have no name there.
writable() {
  local library=$1 bytes
  bytes=$(sections "$library" '\.data|\.tdata|\.bss|\.tbss')
  if ((bytes > 8)); then
    printf '%d bytes ' $((bytes - 8))
  fi
  "${tools}nm" --defined-only --format=sysv "$library" | awk -F '|' '
    { gsub(/ /, "") }
    $4 == "OBJECT" && $5 != "" && $7 ~ /^\.(data|bss|tdata|tbss)$/ && $1 !~ /^(__dso_handle|completed\.[0-9]+)$/ { print $1 }'
}

report() {
  local preset=$1 title=$2 limit=$3 library=build/$1/src/libvorndatabase.so size written
  run_quietly "== $preset: configure" cmake --preset "$preset"
  run_quietly "== $preset: build" cmake --build --preset "$preset" --target vorndatabase
  size=$(stripped_size "$library")
  written=$(writable "$library")
  cat <<REPORT
$title
  stripped file       $size bytes, of at most $limit
  text, data, bss     $("${tools}size" "$library" | awk 'NR == 2 { print $1 ", " $2 ", " $3 }') bytes
  writable data       ${written:-none}
  static constructors $(($(sections "$library" '\.init_array|\.ctors') / 4 - 1))
  relocations         $(relocations "$library")
  largest functions
$(largest_functions "$library")
REPORT
  ((size <= limit)) || exceeds "$preset" "the stripped library is larger than $limit bytes"
  [[ -z $written ]] || exceeds "$preset" "it has writable data: $written"
  (($(sections "$library" '\.init_array|\.ctors') == 4)) ||
    exceeds "$preset" "it runs code of its own when it is loaded"
}

require_packages "${build_packages[@]}" "${armhf_packages[@]}"
scripts/sysroot.sh armhf
report armhf 'armhf, -O2' $((64 * 1024))
report armhf-small 'armhf, -Os' $((48 * 1024))
exit "$failed"
