#!/usr/bin/env bash
# Lets a fuzz target look for inputs that make it fail, for ten seconds times
# VORN_TEST_SCALE, starting from a corpus, which stays as it is:
#
#   run_fuzz.sh TARGET CORPUS FINDINGS DICTIONARY
#
# An input that makes it fail is kept in the directory FINDINGS.
set -euo pipefail
# shellcheck source=scripts/lib/run.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib/run.sh"

fail() {
  echo "run_fuzz.sh: $*" >&2
  exit 1
}

(($# == 4)) || fail "usage: $0 TARGET CORPUS FINDINGS DICTIONARY"
[[ -x $1 ]] || fail "$1 is no program"
[[ -n $(ls -A "$2") ]] || fail "there are no inputs in $2"
[[ -r $4 ]] || fail "there is no dictionary $4"
target=$(realpath "$1")
corpus=$2
findings=$3
dictionary=$4
scale=${VORN_TEST_SCALE:-1}
if [[ ! $scale =~ ^[1-9][0-9]{0,6}$ ]] || ((scale > 1000000)); then
  fail "VORN_TEST_SCALE is '$scale', not a number from 1 to 1000000"
fi
seconds=$((10 * scale))

work=$(mktemp -d "${TMPDIR:-/tmp}/vorn-fuzz-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/corpus" "$work/tmp"
cp "$corpus"/* "$work/corpus"
mkdir -p "$findings"

# The target ends by itself; the limit is for one that hangs.
status=0
TMPDIR=$work/tmp without_randomization timeout --kill-after=10 $((seconds + 120)) \
  "$target" -max_total_time=$seconds -timeout=25 -rss_limit_mb=2048 -detect_leaks=1 \
  -print_final_stats=1 -dict="$dictionary" -artifact_prefix="$(realpath "$findings")/" \
  "$work/corpus" >"$work/log" 2>&1 || status=$?

if ((status != 0)); then
  cat "$work/log"
  echo
  echo "The target has failed, with status $status. The inputs that make it fail are in"
  echo "  $findings"
  echo "To see it fail again, and, once it is repaired, to keep an input under a name that tells what"
  echo "it holds:"
  echo "  $target INPUT"
  echo "  cp INPUT $corpus/NAME"
  exit 1
fi
# What the fuzzer has reached, and how many inputs it has run.
grep -E '^(INFO: Seed|Done |stat::)|INITED|DONE' "$work/log"
executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
echo "$(basename "$target"): $executions executions in $seconds seconds"
