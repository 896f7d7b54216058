#!/usr/bin/env bash
# Finds every line that the library can write to the log, in its sources and in the built
# library, and compares them with the reference:
#
#   scripts/log-reference.sh check   fails when docs/log.md is not what the sources say
#   scripts/log-reference.sh update  writes it, to be reviewed
#
# With the path of a built library, with its symbols, that one is taken; NM may name what
# reads them.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1

usage='usage: scripts/log-reference.sh check|update [LIBRARY]'
case "$#:${1:-}" in
  1:check | 1:update | 2:check | 2:update) ;;
  1:-h | 1:--help)
    echo "$usage"
    exit
    ;;
  *)
    echo "$usage" >&2
    exit 2
    ;;
esac
library=${2:-build/release/src/libvorndatabase.so}

require_packages python3
if (($# == 1)); then
  require_packages "${build_packages[@]}"
  run_quietly '== release: configure' cmake --preset release
  run_quietly '== release: build' cmake --build --preset release --target vorndatabase
fi
python3 scripts/lib/log_reference.py "$1" "$library"
