#!/usr/bin/env bash
# Lets a fuzz target search for inputs that make it fail, for ten seconds times
# VORN_TEST_SCALE, starting from a copy of its corpus:
#
#   run_fuzz.sh TARGET CORPUS FINDINGS DICTIONARY
#
# An input that makes it fail is kept in the directory FINDINGS.
set -euo pipefail
# shellcheck source=scripts/lib/run.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib/run.sh"

target=$1 corpus=$2 findings=$3 dictionary=$4
seconds=$((10 * ${VORN_TEST_SCALE:-1}))
if ((seconds < 10)) || [[ -z $(ls -A "$corpus") ]]; then
  echo "run_fuzz.sh: VORN_TEST_SCALE is no number from 1, or there are no inputs in $corpus" >&2
  exit 1
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/vorn-fuzz-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/corpus" "$work/tmp" "$findings"
cp "$corpus"/* "$work/corpus"

# The target ends by itself; the limit is for one that hangs.
status=0
TMPDIR=$work/tmp without_randomization timeout --kill-after=10 $((seconds + 1200)) \
  "$target" -max_total_time=$seconds -timeout=600 -rss_limit_mb=2048 -detect_leaks=1 \
  -print_final_stats=1 -dict="$dictionary" -artifact_prefix="$(realpath "$findings")/" \
  "$work/corpus" >"$work/log" 2>&1 || status=$?
if ((status != 0)); then
  cat "$work/log"
  printf '\n%s\n' "Status $status. Inputs that fail are in $findings; to see one fail again: $target INPUT" \
    "Once it is repaired, keep the input in $corpus, under a name of its contents."
  exit 1
fi
grep -E '^(INFO: Seed|Done |stat::)|INITED|DONE' "$work/log"
executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
echo "$(basename "$target"): $executions executions in $seconds seconds"
