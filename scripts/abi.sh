#!/usr/bin/env bash
# Compares the library's binary interface, as it is built for shipping, with the
# reviewed references in abi/, or rewrites these:
#
#   scripts/abi.sh check [ARCH...]     fails when anything differs
#   scripts/abi.sh update [ARCH...]    takes the present interface for the reference;
#                                      the list of symbols, which all share, only
#                                      when all are updated
#
# ARCH is x86_64, armhf or armel; all three by default.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
# shellcheck source=scripts/lib/abi.sh
source scripts/lib/abi.sh

usage='usage: scripts/abi.sh check|update [x86_64|armhf|armel]...'

# A folder of its own, so that no option of a developer's build gets in.
library_of() {
  echo "build/abi/$1/src/libvorndatabase.so"
}

build_library() {
  local architecture=$1 preset=$1
  if [[ $architecture == x86_64 ]]; then
    preset=release
  else
    scripts/sysroot.sh "$architecture"
  fi
  run_quietly "== $architecture: configure" cmake --preset "$preset" -B "build/abi/$architecture" \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF
  run_quietly "== $architecture: build" \
    cmake --build "build/abi/$architecture" --target vorndatabase
}

check() {
  local architecture failed=0
  for architecture in "$@"; do
    echo "== $architecture: compare"
    abi_check "$architecture" "$(library_of "$architecture")" || failed=1
  done
  return "$failed"
}

# Everything is described before anything is replaced. The final check holds the one
# list of symbols against each.
update() (
  new=$(mktemp -d)
  trap 'rm -rf "$new"' EXIT
  for architecture in "$@"; do
    library=$(library_of "$architecture")
    abi_require_library "$architecture" "$library"
    abi_describe "$library" >"$new/$architecture.abi"
    if (($# == ${#abi_architectures[@]})); then
      abi_symbols "$library" >"$new/symbols.txt"
    fi
  done
  cp "$new"/* abi/
  echo "== abi/ is rewritten for: $*"
  check "$@"
)

case "${1:-}" in
  -h | --help)
    echo "$usage"
    exit
    ;;
  check | update)
    command=$1
    shift
    ;;
  *)
    echo "$usage" >&2
    exit 2
    ;;
esac
if (($# == 0)); then
  set -- "${abi_architectures[@]}"
fi
for architecture in "$@"; do
  if [[ " ${abi_architectures[*]} " != *" $architecture "* ]]; then
    echo "abi.sh: there is no reference for '$architecture'" >&2
    echo "$usage" >&2
    exit 2
  fi
done

require_packages "${build_packages[@]}" abigail-tools
if [[ " $* " == *' arm'* ]]; then
  require_packages "${arm_packages[@]}"
fi
for architecture in "$@"; do
  build_library "$architecture"
done
"$command" "$@"
