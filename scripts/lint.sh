#!/usr/bin/env bash
# Checks the form of all tracked sources and scripts, without running them:
#
#   scripts/lint.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

if (($# > 0)); then
  echo 'usage: scripts/lint.sh' >&2
  exit 2
fi

# Tracked files that match; the checkout may belong to someone else, as in CI.
tracked() {
  git -c safe.directory="$PWD" ls-files -z -- "$@"
}

check_format() {
  tracked '*.h' '*.cpp' | xargs -0 clang-format --dry-run -Werror
}

# Headers are checked with the sources that include them.
check_tidy() {
  tracked 'src/*.cpp' 'platform/*.cpp' 'examples/*.cpp' 'tools/*.cpp' |
    xargs -0 -n 1 -P 2 clang-tidy --quiet -p build/clang
}

# Which parameters are passed by value is the binary interface's decision.
check_cppcheck() {
  cppcheck --quiet --inline-suppr -j 2 --language=c++ --std=c++17 --enable=warning,performance,portability \
    --suppress=passedByValue --error-exitcode=1 \
    -I include -I src -I platform/dlog -I platform/vornutil src platform examples tools
}

check_shell() {
  tracked '*.sh' '*.bash-completion' .ci/run | xargs -0 shellcheck --external-sources
}

# What another manual page says is its own business.
check_manual() {
  tracked '*.1' | xargs -0 mandoc -T lint -W warning
}

check_black() {
  tracked '*.py' | xargs -0 black --quiet --check --diff --line-length 100
}

# Conventions and sizes are left to the reader, and a local name may be a function's, too.
check_pylint() {
  tracked '*.py' | xargs -0 pylint --persistent=no --score=no --disable=C,R,redefined-outer-name
}

# The compile database covers the tests, so that their packages are needed, too.
require_packages "${test_packages[@]}" "${lint_packages[@]}"
run_quietly '== lint: clang-format' check_format
run_quietly '== lint: configure' cmake --preset clang
run_quietly '== lint: clang-tidy' check_tidy
run_quietly '== lint: cppcheck' check_cppcheck
run_quietly '== lint: shellcheck' check_shell
run_quietly '== lint: mandoc' check_manual
run_quietly '== lint: black' check_black
run_quietly '== lint: pylint' check_pylint
