#!/usr/bin/env bash
# Measures the library beside its peers:
#
#   scripts/bench.sh           writes the table and the plot of docs/performance.md
#   scripts/bench.sh CASE      prints the table of the cases that the regular expression
#                              fits, such as operation/upsert or threads/
#   scripts/bench.sh --check   every case once, for its results alone
#   scripts/bench.sh --checker the cost of vorncheck

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments '(--check|--checker|[^-].*)?' "$@"
# Without root, the peers that are not installed are left out.
require_packages "${build_packages[@]}" "${bench_packages[@]}"
if ((EUID == 0)); then
  require_packages "${peer_packages[@]}"
fi

build=build/bench
checker=OFF
if [[ ${1:-} == --checker ]]; then
  require_packages "${tool_packages[@]}" "${checker_packages[@]}"
  checker=ON
fi
run_quietly '== bench: configure' cmake --preset release -B "$build" \
  "${library_alone[@]}" -DVORN_BUILD_BENCH=ON -DVORN_BUILD_CHECKER=$checker
run_quietly '== bench: build' cmake --build "$build"
tmpfs=$(mktemp -d /dev/shm/vorn-bench.XXXXXX)
disk=$(mktemp -d "$PWD/$build/disk.XXXXXX")
trap 'rm -rf "$tmpfs" "$disk"' EXIT
if [[ $(stat -f -c %T "$tmpfs") != tmpfs || $(stat -f -c %T "$disk") == tmpfs ]]; then
  echo "bench.sh: /dev/shm has to be a tmpfs, and $PWD a disk" >&2
  exit 1
fi

# Otherwise a call may or may not return memory to the system, at random.
export GLIBC_TUNABLES=glibc.malloc.trim_threshold=67108864:glibc.malloc.mmap_threshold=33554432
# run OPTION...: a benchmark whose result is wrong has an error.
run() {
  "$build/bench/vorn_bench" "$tmpfs" "$disk" --benchmark_out="$build/times.json" "$@" &&
    ! grep '"error_message"' "$build/times.json"
}
if [[ ${1:-} == --check ]]; then
  run_quietly '== bench: check' run --benchmark_min_time=0.001
  run_quietly '== bench: memory' "$build/bench/vorn_bench_memory" "$tmpfs"
  exit
fi
# In turn without and with it, so that the machine's other load meets both.
measure_checker() {
  local round library
  for round in {1..9}; do
    for library in '' "$PWD/$build/tools/vorncheck/libvorncheck.so"; do
      LD_PRELOAD=$library run --benchmark_min_time=0.1 \
        --benchmark_filter='^vorn/(operation/(upsert|select)/tmpfs|select/rows:10000/columns:5/tables:1/|read/)' &&
        mv "$build/times.json" "$build/round-$round${library:+-checked}.json" || return
    done
  done
}
if [[ ${1:-} == --checker ]]; then
  run_quietly '== bench: measure' measure_checker
  python3 -B scripts/lib/bench.py --checker "$build"
  exit
fi
page='operation/[a-z]*/tmpfs|select/rows:[0-9]*/columns:5/tables:1/|read/'
run_quietly '== bench: measure' run --benchmark_filter="/(${1:-$page})" --benchmark_min_time=0.02 \
  --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true
targets=("$build/times.json")
(($# > 0)) || targets+=(docs/performance.md)
python3 -B scripts/lib/bench.py "${targets[@]}"
