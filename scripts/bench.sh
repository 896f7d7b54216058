#!/usr/bin/env bash
# Measures the library beside its peers, and prints the table:
#
#   scripts/bench.sh           all of it, in about ten minutes; writes what it has
#                              found to docs/performance.md
#   scripts/bench.sh CASE      those cases that the regular expression fits, such as
#                              operation/upsert or 'select/rows:10000/columns:5/tables:1$'
#   scripts/bench.sh --check   every case once and quickly: whether all results are right
#
# VORN_BENCH_ROUNDS is the number of rounds (9).

set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage='usage: scripts/bench.sh [CASE | --check]'
case "$#:${1:-}" in
  0: | 1:--check | 1:[!-]*) ;;
  1:-h | 1:--help)
    echo "$usage"
    exit
    ;;
  *)
    echo "$usage" >&2
    exit 2
    ;;
esac

# Who cannot install the peers does without those that are missing.
require_packages "${build_packages[@]}" "${bench_packages[@]}"
if ((EUID == 0)); then
  require_packages "${peer_packages[@]}"
fi

build=build/bench
run_quietly '== release: configure' cmake --preset release -B "$build" \
  -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=OFF -DVORN_BUILD_BENCH=ON
run_quietly '== release: build' cmake --build "$build"

tmpfs=
disk=
trap 'rm -rf "$tmpfs" "$disk"' EXIT
tmpfs=$(mktemp -d /dev/shm/vorn-bench.XXXXXX)
disk=$(mktemp -d "$PWD/$build/disk.XXXXXX")
if [[ $(stat -f -c %T "$tmpfs") != tmpfs ]]; then
  echo "bench.sh: /dev/shm is no tmpfs here" >&2
  exit 1
fi
if [[ $(stat -f -c %T "$disk") == tmpfs ]]; then
  echo "bench.sh: $PWD is on a tmpfs; what a disk costs cannot be measured" >&2
  exit 1
fi

measure() {
  python3 scripts/lib/bench.py --program "$build/bench/vorn_bench" --tmpfs "$tmpfs" \
    --disk "$disk" "$@"
}

# All in one process, since nothing is measured. A failed benchmark does not end the program.
check() {
  local log=$build/check.log listed run
  echo '== release: every benchmark once'
  listed=$("$build/bench/vorn_bench" "$tmpfs" "$disk" --benchmark_list_tests | wc -l)
  if ! "$build/bench/vorn_bench" "$tmpfs" "$disk" --benchmark_min_time=0.001 >"$log" 2>&1 ||
    grep -q 'ERROR OCCURRED' "$log"; then
    cat "$log" >&2
    return 1
  fi
  sed -n 's/^left_out: \(..*\)/Left out, since not installed: \1/p' "$log"
  run=$(grep -cE '^[[:alnum:]_-]+/.* ns ' "$log")
  echo "$run of $listed benchmarks ran without an error"
  ((run == listed)) && "$build/bench/vorn_bench_memory" "$tmpfs" >/dev/null
}

rounds=${VORN_BENCH_ROUNDS:-9}
case "${1:-}" in
  --check)
    check
    ;;
  '')
    # The page has the counts, too.
    scripts/instructions.sh check
    measure --rounds "$rounds" --save "$build/times.json"
    "$build/bench/vorn_bench_memory" "$tmpfs" >"$build/memory.tsv"
    python3 scripts/lib/performance.py "$build" bench/instructions.txt bench/performance.md.in docs
    ;;
  *)
    measure --rounds "$rounds" --filter "$1"
    ;;
esac
