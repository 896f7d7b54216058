#!/usr/bin/env bash
# Does what README.md and the documents in docs/ tell their readers to do, and compares
# with what they promise.
# Use: readme_test.sh CASE SOURCE_DIRECTORY BUILD_DIRECTORY CXX_COMPILER
set -euo pipefail

case=$1
source=$2
build=$3
compiler=$4
document=README.md  # that the blocks are taken from

# shellcheck source=scripts/lib/documents.sh
source "$source/scripts/lib/documents.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$document, $case: $1" >&2
  exit 1
}

# block NAME: the fenced block behind the line "<!-- NAME -->".
block() {
  block_of "$source/$document" "$1" || fail "it has no block '$1'"
}

# The counts depend on the machine's time-zone data, its speed and the day's log.
without_counts() {
  sed -E 's/ \.\.\. [0-9]+ s$//; s/[0-9]+ (rows|found|left|lines)/N \1/g'
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
    <(grep -v '^== install ' "$work/output" | without_counts) ||
    fail "'$command' prints something else than it shows"
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

# Writes the README's commands, made for this build. They name folders of a checkout in
# which the demo was built.
write_sample_command() {
  mkdir -p "$work/build/demo"
  ln -s "$source/include" "$work/include"
  ln -s "$build/src" "$work/build/demo/src"
  block sample-command |
    sed "s|^g++ |$compiler ${LDFLAGS:-} |; s| \./hello| ${VORN_EMULATOR:-} ./hello|" >"$work/commands"
}

sample() {
  local lines
  lines=$(block sample | wc -l)
  ((lines <= 25)) || fail "its program has $lines lines, more than 25"
  write_sample_command
  run_sample
}

# The guide's programs need C++11 only.
guide() {
  document=docs/guide.md
  local -a programs
  mapfile -t programs < <(find "$source/examples/guide" "$source/examples/contacts" -name '*.cpp')
  ((${#programs[@]} > 0)) || fail "there are no programs"
  "$compiler" -std=c++11 -Wall -Wextra -pedantic-errors -Werror -fsyntax-only \
    -I "$source/include" "${programs[@]}" || fail "its programs are not C++11"
}

# The tool that the demo has built for this machine.
tool() {
  mkdir "$work/build"
  ln -s "$source/build/demo" "$work/build/demo"
  block tool-command >"$work/commands"
  (cd "$work" && bash -euo pipefail commands) >"$work/output" 2>&1 || fail "its tool fails: $(<"$work/output")"
  diff -u <(block tool-output) "$work/output" || fail "its tool prints something else"
}

# With the demo that was built for this machine.
install() {
  mkdir "$work/build"
  ln -s "$source/build/demo" "$work/build/demo"
  block install-command >"$work/commands"
  run_sample
}

# --- Transcripts -----------------------------------------------------------------

# What a transcript leaves out, or what is another each time: progress, process numbers,
# lines of the sources.
without_details() {
  sed -E "s|$work/home|/home/you|g; s/^([VDIWEF] VORN) [0-9]+ [0-9]+ /\1 N N /
    s/\[[0-9]+ [0-9]+\]/[N N]/; s/\([0-9]+\)/(N)/g" |
    grep -vE '^(-- |\[|…$|Preset |  [A-Z_:]+=|$)' || true
}

# Makes a script of a transcript: runs its commands, the lines behind "$ " and those that
# a backslash continues, and prints each as a shell at a terminal does.
as_script() {
  local line shown=''
  while IFS= read -r line; do
    [[ -n $shown || $line == '$ '* ]] || continue
    shown+=$line
    if [[ $line == *\\ ]]; then
      shown+=$'\n'
    else
      printf 'printf "%%s\\n" %q\n%s\n' "$shown" "${shown#'$ '}"
      shown=''
    fi
  done
}

# transcript NAME BUILT: runs it at a home of its own that has a checkout, with what is
# BUILT there already.
transcript() {
  document=docs/guide.md
  local checkout=$work/home/vorndatabase
  mkdir -p "$(dirname "$checkout/build/$2")"
  (cd "$source" && cp -R ./*.md CMake* abi cmake docs examples include platform src tools "$checkout")
  ln -s "$source/build/$2" "$checkout/build/$2"
  block "transcript $1" >"$work/transcript"
  as_script <"$work/transcript" >"$work/script"
  block "file device.cmake" >"$work/home/device.cmake"
  (
    export HOME=$work/home
    unset VORN_DLOG_PRIORITY LD_LIBRARY_PATH CXX CMAKE_TOOLCHAIN_FILE LDFLAGS
    cd && bash "$work/script" </dev/null
  ) >"$work/output" 2>&1 || true
  diff -u <(without_details <"$work/transcript") <(without_details <"$work/output") || {
    cat "$work/output" >&2
    fail "its commands print something else than it shows"
  }
}

# A host on this machine, with the library that the demo has built.
host() {
  transcript host demo
}

# The same for the device.
device() {
  transcript device sysroot/armhf
}

# Every folder that they name in backticks and every file that they link to exists.
places() {
  places_in README.md
  places_in docs/guide.md
  places_in docs/reliability.md
}

# Folders are named as seen from the top, links as seen from the document.
places_in() { # DOCUMENT
  local place missing=0
  document=$1
  # shellcheck disable=SC2016 # the backticks are those of the document
  while read -r place; do
    if [ ! -e "$source/$place" ]; then
      echo "there is no $place" >&2
      missing=1
    fi
  done < <(grep -oE '\]\([^)#]+\)|`[A-Za-z_./-]+/`' "$source/$document" | grep -vE '^..[a-z]+:' |
    sed -E "s|^\`(.*)\`\$|\1|; s|^]\((.*)\)\$|$(dirname "$document")/\1|" | sort -u)
  ((missing == 0)) || fail "it names places that do not exist"
}

case $case in
  demo | tool | sample | install | guide | host | device | places) "$case" ;;
  *) fail "unknown case" ;;
esac
echo "$case: as $document says"
