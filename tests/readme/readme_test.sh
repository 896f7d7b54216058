#!/usr/bin/env bash
# Does what README.md tells a newcomer to do, and compares with what it promises.
# Use: readme_test.sh CASE SOURCE_DIRECTORY BUILD_DIRECTORY CXX_COMPILER CTEST
set -euo pipefail

case=$1
source=$2
build=$3
compiler=$4
ctest=$5
readme=$source/README.md

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "README.md, $case: $1" >&2
  exit 1
}

# block NAME: the fenced block behind the line "<!-- NAME -->".
block() {
  awk -v mark="<!-- $1 -->" '
    $0 == mark { wanted = 1; next }
    wanted && /^```/ { if (inside) exit; inside = 1; next }
    inside { print; lines++ }
    END { exit lines == 0 }
  ' "$readme" || fail "it has no block '$1'"
}

# The counts depend on the machine's time-zone data and on the day's log.
without_counts() {
  sed -E 's/[0-9]+ (rows|found|left|lines)/N \1/g'
}

demo() {
  local command
  command=$(block demo-command)
  [ -x "$source/$command" ] || fail "'$command' is not a command of the project"
  (cd "$source" && "./$command") >"$work/output" 2>&1 || {
    cat "$work/output" >&2
    fail "'$command' failed"
  }
  # What was not installed, if anything, is the machine's business.
  diff -u <(block demo-output | without_counts) \
    <(grep -v '^Installing: ' "$work/output" | without_counts) ||
    fail "'$command' prints something else than the README shows"
}

# The command runs this very test, so here only its promise is checked.
suite() {
  local command listed
  command=$(block test-command)
  [ -x "$source/$command" ] || fail "'$command' is not a command of the project"
  listed=$("$ctest" --test-dir "$build" -N | sed -nE 's/^Total Tests: ([0-9]+)$/\1/p')
  block test-output | grep -qx "100% tests passed, 0 tests failed out of $listed" ||
    fail "there are $listed tests, and it shows another number"
}

# The commands at hand are run where the README's program is, in what looks like a
# checkout.
run_sample() {
  block sample >"$work/hello.cpp"
  (cd "$work" && bash -euo pipefail commands) >"$work/output" 2>"$work/log" || {
    cat "$work/output" "$work/log" >&2
    fail "its program does not build and run"
  }
  diff -u <(block sample-output) <(grep -v '^-- ' "$work/output") ||
    fail "its program prints something else"
}

sample() {
  local lines
  lines=$(block sample | wc -l)
  ((lines <= 25)) || fail "its program has $lines lines, more than 25"
  # The command names folders of a checkout in which the demo was built.
  mkdir -p "$work/build/demo"
  ln -s "$source/include" "$work/include"
  ln -s "$build/src" "$work/build/demo/src"
  block sample-command |
    sed "s|^g++ |$compiler ${LDFLAGS:-} |; s| \./hello| ${VORN_EMULATOR:-} ./hello|" >"$work/commands"
  run_sample
}

# With the demo that was built for this machine.
install() {
  mkdir "$work/build"
  ln -s "$source/build/demo" "$work/build/demo"
  block install-command >"$work/commands"
  run_sample
}

# Every file and folder that it names in backticks or links to exists.
places() {
  local place missing=0
  # shellcheck disable=SC2016 # the backticks are those of the README
  while read -r place; do
    if [ ! -e "$source/$place" ]; then
      echo "there is no $place" >&2
      missing=1
    fi
  done < <(grep -oE '\]\([^)#]+\)|`[A-Za-z_./-]+/`' "$readme" | sed -E 's/^\]\(|\)$|`//g' |
    grep -vE '^[a-z]+:' | sort -u)
  ((missing == 0)) || fail "it names places that do not exist"
}

case $case in
  demo | suite | sample | install | places) "$case" ;;
  *) fail "unknown case" ;;
esac
echo "$case: as the README says"
