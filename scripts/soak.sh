#!/usr/bin/env bash
# Tries for a long time what the suite tries for a short one: half of the time many
# threads and processes on one file, kills and losses of power, from other random
# numbers each time; half of it fuzzing. Prints what was done; stops at the first
# thing that fails, with the end of its output. All output is kept in build/soak/:
#
#   scripts/soak.sh MINUTES  from 1 to 2000

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

# So long that ctest's time limit for a fuzz target is still longer.
most=2000
if (($# != 1)) || [[ ! $1 =~ ^[1-9][0-9]{0,3}$ ]] || (($1 > most)); then
  echo "usage: scripts/soak.sh MINUTES, from 1 to $most" >&2
  exit 2
fi
half=$((30 * $1)) # seconds
logs=build/soak
export LC_ALL=C.UTF-8
unset VORN_TEST_SEED # which would make all rounds the same

# run_tests PRESET LABELS SCALE LOG
run_tests() {
  if ! VORN_TEST_SCALE=$3 without_randomization \
    ctest --preset "$1" -L "^($2)\$" --verbose >"$4" 2>&1; then
    tail -n 200 "$4" >&2
    echo "soak.sh: failed; the log, whose end this is, is $4" >&2
    exit 1
  fi
}

# What the tests tell of themselves, without the number that ctest puts before.
figures() { # LOG PATTERN
  sed -nE "s/^[0-9]+: ($2)\$/  \1/p" "$1"
}

require_packages "${test_packages[@]}" "${fuzz_packages[@]}"
rm -rf "$logs"
mkdir -p "$logs"
for preset in release fuzz; do
  run_quietly "== $preset: configure" cmake --preset "$preset"
  run_quietly "== $preset: build" without_randomization cmake --build --preset "$preset"
done

end=$((SECONDS + half))
for ((round = 1; SECONDS < end; ++round)); do
  echo "== contention, kills, losses of power: round $round"
  run_tests release 'stress|crash' 3 "$logs/round_$round.log"
  figures "$logs/round_$round.log" 'VORN_TEST_SEED=.*|[0-9]+ (operations|boundaries|kills|power losses).*'
done

# Two of the four targets run at a time, each for ten seconds times the scale.
echo '== fuzzing'
run_tests fuzz fuzz $(((half + 19) / 20)) "$logs/fuzz.log"
figures "$logs/fuzz.log" '[A-Za-z]+: [0-9]+ executions.*'
echo "== soak: done, nothing failed; the logs are in $logs"
