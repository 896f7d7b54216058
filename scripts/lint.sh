#!/usr/bin/env bash
# Checks the form of all tracked sources and scripts, without running them:
#
#   scripts/lint.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
require_arguments '' "$@"
require_packages "${build_packages[@]}" "${tool_packages[@]}" "${checker_packages[@]}" \
  "${lint_packages[@]}"

# on FILES COMMAND...: runs it on the tracked files that match the patterns in FILES. The
# checkout may belong to someone else, as in CI. The tools, which take longest, come first.
on() {
  local -a patterns
  read -ra patterns <<<"$1"
  git -c safe.directory="$PWD" ls-files -z -- "${patterns[@]}" | sort -rz | xargs -0 "${@:2}"
}

run_quietly '== lint: clang-format' on '*.h *.cpp' clang-format --dry-run -Werror
# Headers are checked with the sources that include them. The analyzer looks into single sources
# only; the other checks take most of their time for headers, so sources are joined for them.
configure_lint() { # UNITY
  cmake --preset release -B "build/lint-$1" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_UNITY_BUILD="$1" \
    -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 -DVORN_BUILD_TESTS=OFF
}
run_quietly '== lint: configure' configure_lint OFF
run_quietly '== lint: configure, joined' configure_lint ON
run_quietly '== lint: clang-tidy, analyzer' on 'src/*.cpp platform/*.cpp examples/*.cpp tools/*.cpp' \
  -n 1 -P "$(nproc)" clang-tidy --quiet -p build/lint-OFF \
  --checks='-*,clang-analyzer-*,clang-diagnostic-*,misc-unused-using-decls'
run_quietly '== lint: clang-tidy, other checks' run-clang-tidy -quiet -p build/lint-ON \
  -checks='-clang-analyzer-*,-bugprone-suspicious-include'
# Which parameters are passed by value is the binary interface's decision.
run_quietly '== lint: cppcheck' cppcheck --quiet --inline-suppr -j "$(nproc)" --language=c++ \
  --std=c++17 --enable=warning,performance,portability --suppress=passedByValue \
  --error-exitcode=1 -I include -I src -I platform/dlog -I platform/vornutil \
  src platform examples tools
run_quietly '== lint: shellcheck' on '*.sh *.bash .ci/run tools/vorncheck/vorncheck.in' shellcheck --external-sources
# Other manual pages are not checked.
run_quietly '== lint: mandoc' on '*.1' mandoc -T lint -W warning
run_quietly '== lint: black' on '*.py' black --quiet --check --diff --line-length 100
# Conventions and sizes are left to the reader, and a local name may be a function's, too.
run_quietly '== lint: pylint' on '*.py' pylint --persistent=no --score=no \
  --disable=C,R,redefined-outer-name
