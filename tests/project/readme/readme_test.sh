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

# run_block COMMAND OUTPUT: runs a block in a folder that has this build as build/release, and
# compares what it prints with another block.
run_block() {
  mkdir "$work/build"
  ln -s "$source/include" "$work/include"
  ln -s "$build" "$work/build/release"
  block sample >"$work/hello.cpp"
  block "$1" | sed "s|^g++ |$compiler |" >"$work/commands"
  (cd "$work" && bash -euo pipefail commands) >"$work/output" 2>&1 || {
    cat "$work/output" >&2
    fail "its commands fail"
  }
  diff -u <(block "$2") <(grep -v '^-- ' "$work/output") || fail "its commands print something else"
}

# --- Transcripts -----------------------------------------------------------------

# What a transcript leaves out, or what is another each time: progress, process numbers,
# lines and folders of the sources, the checker, which the demo does not build.
without_details() {
  sed -E "s|$work/home|/home/you|g; s|$source/|./|g; s/^([VDIWEF] VORN) [0-9]+ [0-9]+ /\1 N N /
    s/\[[0-9]+ [0-9]+\]/[N N]/; s/\([0-9]+\)/(N)/g; s/^vorncheck\[[0-9]+\]/vorncheck[N]/" |
    grep -vE '^(-- |\[|…$|Preset |  [A-Z_:]+=|libvorncheck\.so$|$)' || true
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

# transcript DOCUMENT NAME BUILT FOLDER: runs it at a home of its own that has a checkout, with
# this folder BUILT there already.
transcript() {
  document=docs/$1
  shift
  local checkout=$work/home/vorndatabase
  mkdir -p "$(dirname "$checkout/build/$2")"
  (cd "$source" && cp -R ./*.md CMake* abi cmake docs examples include platform src tools "$checkout")
  ln -s "$3" "$checkout/build/$2"
  block "transcript $1" >"$work/transcript"
  as_script <"$work/transcript" >"$work/script"
  local name
  for name in $(marks "$source/$document" file); do
    block "file $name" >"$work/home/$name"
  done
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

# Every folder that they name in backticks exists.
places() {
  local name
  for name in README.md CONTRIBUTING.md abi/README.md \
    docs/{architecture,footprint,guide,log,reliability,vorncheck,vorndb}.md; do
    places_in "$name"
  done
}

# Folders are relative to the top.
places_in() { # DOCUMENT
  local place missing=0
  document=$1
  # shellcheck disable=SC2016 # the backticks are those of the document
  while read -r place; do
    if [ ! -e "$source/$place" ]; then
      echo "there is no $place" >&2
      missing=1
    fi
  done < <(grep -oE '`[A-Za-z_./-]+/`' "$source/$document" | tr -d '`' | sort -u)
  ((missing == 0)) || fail "it names places that do not exist"
}

case $case in
  demo | places) "$case" ;;
  sample) run_block sample-command sample-output ;;
  install) run_block install-command sample-output ;;
  tool) run_block tool-command tool-output ;;
  # A host on this machine, and for the device.
  host) transcript guide.md host release "$build" ;;
  cookbook) transcript vorndb.md cookbook release "$build" ;;
  checker) transcript guide.md checker release "$build" ;;
  device) transcript guide.md device sysroot/armhf "$source/build/sysroot/armhf" ;;
  *) fail "unknown case" ;;
esac
echo "$case: as $document says"
