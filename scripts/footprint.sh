#!/usr/bin/env bash
# Builds the library for the device, as it is shipped and optimised for size, and
# prints what it costs there; fails when it costs more than it may:
#
#   scripts/footprint.sh

set -euo pipefail
shopt -s inherit_errexit
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
  "${tools}strip" -o "$1.stripped" "$1"
  stat -c %s "$1.stripped"
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

# In a folder of its own, so that no option of a developer's build gets in.
report() {
  local preset=$1 title=$2 limit=$3 tree=build/footprint/$1
  local library=$tree/src/libvorndatabase.so size memory written constructors relocated largest
  run_quietly "== $preset: configure" cmake --preset "$preset" -B "$tree" \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF
  run_quietly "== $preset: build" cmake --build "$tree" --target vorndatabase
  size=$(stripped_size "$library")
  memory=$("${tools}size" "$library" | awk 'NR == 2 { print $1 ", " $2 ", " $3 }')
  written=$(writable "$library")
  # The first entry is the compiler's own.
  constructors=$(sections "$library" '\.init_array|\.ctors')
  constructors=$((constructors / 4 - 1))
  relocated=$(relocations "$library")
  largest=$(largest_functions "$library")
  cat <<REPORT
$title
  stripped file       $size bytes, of at most $limit
  text, data, bss     $memory bytes
  writable data       ${written:-none}
  static constructors $constructors
  relocations         $relocated
  largest functions
$largest
REPORT
  ((size <= limit)) || exceeds "$preset" "the stripped library is larger than $limit bytes"
  [[ -z $written ]] || exceeds "$preset" "it has writable data: $written"
  ((constructors == 0)) || exceeds "$preset" "it runs code of its own when it is loaded"
}

require_packages "${build_packages[@]}" "${armhf_packages[@]}"
scripts/sysroot.sh armhf
report armhf 'armhf, -O2' $((64 * 1024))
report armhf-small 'armhf, -Os' $((48 * 1024))
exit "$failed"
