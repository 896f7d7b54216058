#!/usr/bin/env bash
# Builds the library and its example and runs the example on a fresh database:
#
#   scripts/demo.sh [COUNTRY]     COUNTRY is a two-letter code, PT by default

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

require_arguments '([^- ][^ ]*)?' "$@"
country=${1:-PT}
program=$PWD/build/release/examples/timezone_picker/timezone_picker
log=build/release/timezone_picker.log

require_packages "${build_packages[@]}" "${tool_packages[@]}" tzdata
run_quietly '== demo: configure' cmake --preset demo
run_quietly '== demo: build' cmake --build --preset demo

echo "== demo: timezone_picker $country"
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
status=0
# From inside the directory, so that the program does not print its random name.
(cd "$directory" && "$program" "$country" .) 2>"$log" || status=$?
if ((status != 0)); then
  # The log of the library and the program's own messages share the stream.
  grep '^timezone_picker: ' "$log" >&2 || true
  echo "timezone_picker failed with status $status; see $log" >&2
  exit "$status"
fi
echo "== demo: done; its folder is removed with the database, the library's log is in $log ($(wc -l <"$log") lines)"
