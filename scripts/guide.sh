#!/usr/bin/env bash
# The guide has copies of files of examples/ and of the outputs of the programs, each in the
# fenced block behind a line such as
#
#   <!-- include examples/guide/create.cpp -->        the whole file
#   <!-- include examples/guide/safe.h quoting -->    the part between two lines
#                                                     "//! [quoting]"
#   <!-- output create -->                            the output of guide_create
#
#   scripts/guide.sh check         compares the copies of files
#   scripts/guide.sh update        updates the copies of files
#   scripts/guide.sh update BUILD  likewise, and the outputs of the programs of that build

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/documents.sh
source scripts/lib/documents.sh
# shellcheck source=scripts/lib/run.sh
source scripts/lib/run.sh

guide=docs/guide.md

fail() {
  echo "guide.sh: $1" >&2
  exit 1
}

# included FILE [REGION]
included() {
  [[ -f $1 ]] || fail "there is no file $1 to include"
  if [[ -z ${2:-} ]]; then
    cat "$1"
    return
  fi
  awk -v mark="//! [$2]" '
    { text = $0; sub(/^ +/, "", text) }
    text == mark { inside = !inside; seen++; next }
    inside { print }
    END { exit seen != 2 }
  ' "$1" || fail "$1 has no region $2 between two lines '//! [$2]'"
}

# contents KIND ARGUMENT...: what belongs into a block.
contents() {
  case $1 in
    include) included "${@:2}" ;;
    output) run_program "$build/examples/guide" "${@:2}" || fail "guide_${*:2} fails" ;;
  esac
}

# Prints a document with the blocks of these kinds written anew.
render() { # DOCUMENT KIND...
  local document=$1 line mark='' inside=''
  local kinds="${*:2}"
  local -a words
  while IFS= read -r line; do
    if [[ -n $inside ]]; then
      [[ $line == '```' ]] || continue
      inside=''
    fi
    printf '%s\n' "$line"
    if [[ $line =~ ^'<!-- '(${kinds// /|})' '(.+)' -->'$ ]]; then
      mark="${BASH_REMATCH[1]} ${BASH_REMATCH[2]}"
    elif [[ -n $mark ]]; then
      [[ $line == '```'* ]] || fail "$document: no block begins behind <!-- $mark -->"
      read -ra words <<<"$mark"
      contents "${words[@]}" || exit
      mark='' inside=1
    fi
  done <"$document"
  [[ -z $mark && -z $inside ]] || fail "$document: its last block does not end"
}

check() {
  local rendered
  [[ -n $(marks "$guide" include) ]] || fail "$guide includes nothing"
  rendered=$(render "$guide" include) || exit
  diff -u --label "$guide" --label 'the files that it includes' "$guide" - <<<"$rendered" ||
    fail "$guide differs from the files; run scripts/guide.sh update"
}

update() {
  local rendered
  rendered=$(render "$guide" include ${build:+output}) || exit
  printf '%s\n' "$rendered" >"$guide"
}

require_arguments 'check|update( .+)?' "$@"
build=${2:-}
"$1"
