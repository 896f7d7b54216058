#!/usr/bin/env bash
# Repeats the open-ended tests with other random numbers: contention, kills and losses of
# power for half of the time, fuzzing for the other half. Stops at the first failure. The
# output is kept in build/soak/:
#
#   scripts/soak.sh MINUTES  from 1 to 1999

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
# Beyond that, ctest's time limit for a fuzz target would end it.
require_arguments '[1-9][0-9]{0,2}|1[0-9]{3}' "$@"
require_packages "${test_packages[@]}" "${fuzz_packages[@]}"

half=$((30 * $1)) # seconds
logs=build/soak
export LC_ALL=C.UTF-8
figures='VORN_TEST_SEED=.*|([A-Za-z]+: )?[0-9]+ (operations|boundaries|kills|power losses|executions).*'
unset VORN_TEST_SEED # which would make all rounds the same

# soak PRESET LABELS SCALE LOG: runs the tests and prints the figures among their output.
soak() {
  if ! VORN_TEST_SCALE=$3 without_randomization \
    ctest --preset "$1" --parallel 2 -L "^($2)\$" --schedule-random --verbose >"$logs/$4" 2>&1; then
    tail -n 200 "$logs/$4" >&2
    echo "soak.sh: failed; this is the end of $logs/$4" >&2
    exit 1
  fi
  sed -nE "s/^[0-9]+: ($figures)\$/  \1/p" "$logs/$4"
}

for preset in release asan; do
  build_preset "$preset"
done
rm -rf "$logs"
mkdir -p "$logs"
end=$((SECONDS + half))
for ((round = 1; SECONDS < end; ++round)); do
  echo "== contention, kills, losses of power: round $round"
  soak release 'stress|crash' 3 "round_$round.log"
done
# Two of the four targets run at a time, each for ten seconds times the scale.
echo '== fuzzing'
soak asan fuzz $(((half + 19) / 20)) fuzz.log
echo "== soak: done, nothing failed; the logs are in $logs"
