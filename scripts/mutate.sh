#!/usr/bin/env bash
# Mutation testing: makes small changes to the sources and fails if the tests do not notice
# one that tests/mutation/equivalent.txt does not list:
#
#   scripts/mutate.sh [--sample 30 [--seed 7]]   all mutants of src/, or some of them
#   scripts/mutate.sh --only src/Cursor.cpp      those of the files that begin so
#   scripts/mutate.sh --label '^fault$'          with other tests, by ctest's labels

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments '(--.*)?' "$@"
require_packages "${test_packages[@]}" "${mutation_packages[@]}"

build_preset release
# Assertions of the standard library stop an access beyond a container.
rm -rf build/mutation
for worker in build/mutation/{1,2}; do
  mkdir -p "$worker/tree"
  git -c safe.directory="$PWD" ls-files -z --cached --others --exclude-standard |
    xargs -0 cp --parents --target-directory="$worker/tree"
  run_quietly "== ${worker#build/}: configure" cmake -G Ninja -S "$worker/tree" \
    -B "$worker/build" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DVORN_INSTALL=OFF \
    -DCMAKE_CXX_FLAGS='-O1 -w -D_GLIBCXX_ASSERTIONS' "${library_alone[@]}"
  run_quietly "== ${worker#build/}: build" cmake --build "$worker/build"
done
# Debian's interpreter has Debian's module.
exec env GTEST_FAIL_FAST=1 /usr/bin/python3 -B scripts/lib/mutate.py --only src/ \
  --label '^(unit|heap|leaks|threads)$' "$@" tests/mutation/equivalent.txt \
  build/release build/mutation/{1,2}
