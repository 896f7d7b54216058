#!/usr/bin/env bash
# Checks the form of all tracked sources and scripts, without running them:
#
#   scripts/lint.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments '' "$@"
require_packages "${build_packages[@]}" "${tool_packages[@]}" "${lint_packages[@]}"

# on FILES COMMAND...: runs it on the tracked files that match the patterns in FILES. The
# checkout may belong to someone else, as in CI.
on() {
  local -a patterns
  read -ra patterns <<<"$1"
  git -c safe.directory="$PWD" ls-files -z -- "${patterns[@]}" | xargs -0 "${@:2}"
}

run_quietly '== lint: clang-format' on '*.h *.cpp' clang-format --dry-run -Werror
# Headers are checked with the sources that include them.
run_quietly '== lint: configure' cmake --preset release -B build/lint \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_UNITY_BUILD=OFF -DVORN_BUILD_TESTS=OFF
run_quietly '== lint: clang-tidy' on 'src/*.cpp platform/*.cpp examples/*.cpp tools/*.cpp' \
  -n 1 -P "$(nproc)" clang-tidy --quiet -p build/lint
# Which parameters are passed by value is the binary interface's decision.
run_quietly '== lint: cppcheck' cppcheck --quiet --inline-suppr -j "$(nproc)" --language=c++ \
  --std=c++17 --enable=warning,performance,portability --suppress=passedByValue \
  --error-exitcode=1 -I include -I src -I platform/dlog -I platform/vornutil \
  src platform examples tools
run_quietly '== lint: shellcheck' on '*.sh *.bash-completion .ci/run' shellcheck --external-sources
# Other manual pages are not checked.
run_quietly '== lint: mandoc' on '*.1' mandoc -T lint -W warning
run_quietly '== lint: black' on '*.py' black --quiet --check --diff --line-length 100
# Conventions and sizes are left to the reader, and a local name may be a function's, too.
run_quietly '== lint: pylint' on '*.py' pylint --persistent=no --score=no \
  --disable=C,R,redefined-outer-name
