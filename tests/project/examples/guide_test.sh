#!/usr/bin/env bash
# Runs the programs of docs/guide.md, and compares the document with them.
# Use: guide_test.sh SOURCE_DIRECTORY PROGRAM_DIRECTORY [PROGRAM [ARGUMENT]]
# Without a program, all that the guide shows. If VORN_EMULATOR is set, that command runs
# the programs.
set -euo pipefail
export LC_ALL=C

source=$1
programs=$2
guide=$source/docs/guide.md
# shellcheck source=scripts/lib/documents.sh
source "$source/scripts/lib/documents.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

complain() {
  echo "docs/guide.md: $1" >&2
  status=1
}

# compare PROGRAM [ARGUMENT]
compare() {
  case $1 in
    threads | processes)
      # Writes that had to wait leave error texts allocated (docs/reliability.md).
      local -x ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
      ;;
  esac
  run_program "$programs" "$@" >"$work/output" 2>&1 || complain "guide_$* fails"
  diff -u --label "docs/guide.md, output $*" --label "guide_$*" <(block_of "$guide" "output $*") \
    "$work/output" || complain "guide_$* prints something else; see scripts/guide.sh"
}

if (($# > 2)); then
  compare "${@:3}"
  exit "$status"
fi

"$source/scripts/guide.sh" check || status=1
while read -ra words; do
  compare "${words[@]}"
done < <(marks "$guide" output)
# Every program is shown with its output, and every file somewhere.
while read -r words; do
  marks "$guide" output | grep -qx "$words" || complain "no output of guide_$words"
done < <(
  find "$programs" -maxdepth 1 -type f -perm -u+x -name 'guide_*' -not -name guide_edges -printf '%f\n' |
    sed 's/^guide_//'
  run_program "$programs" edges 2>&1 | sed 's/.*, one of *//' | tr ' ' '\n' | sed 's/^/edges /'
)
while read -r file; do
  marks "$guide" include | grep -qE "^$file( |\$)" || complain "$file is not included"
done < <(cd "$source" && find examples/guide examples/contacts -name '*.cpp' -not -name main.cpp)
exit "$status"
