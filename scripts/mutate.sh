#!/usr/bin/env bash
# Changes src/ in small ways and tells whether the tests notice; fails when fewer
# changes are noticed than must be, or when one is not, and tests/mutation/equivalent.txt
# does not tell why:
#
#   scripts/mutate.sh                       all changes, for a quarter of an hour
#   scripts/mutate.sh --sample 40           some, the same ones every time
#   scripts/mutate.sh --sample 40 --seed 7  others
#   scripts/mutate.sh --only src/Cursor.cpp
#   scripts/mutate.sh --label fault         with other tests than the quick ones
#   scripts/mutate.sh --list                prints them
#
# --help tells the other options.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1
require_packages "${test_packages[@]}" "${mutation_packages[@]}"
exec python3 scripts/lib/mutate.py "$@"
