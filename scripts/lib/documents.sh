# shellcheck shell=bash
# Sourced by what reads the documents.
#
#   block_of DOCUMENT MARK  prints the fenced block behind the line "<!-- MARK -->", or all
#   of them one after the other; fails when there is none, or nothing in it.
#
#   marks DOCUMENT KIND  prints what follows KIND in the lines "<!-- KIND … -->".
#
#   run_program FOLDER NAME [ARGUMENT]  runs the guide's program NAME of those that were
#   built in FOLDER, with $VORN_EMULATOR, in an empty folder, without the library's log.

block_of() {
  awk -v mark="<!-- $2 -->" '
    $0 == mark { wanted = 1; next }
    wanted && /^```/ { inside = !inside; wanted = inside; next }
    inside { print; lines++ }
    END { exit lines == 0 }
  ' "$1"
}

marks() {
  sed -nE "s/^<!-- $2 (.+) -->\$/\1/p" "$1"
}

run_program() {
  local program place status=0
  local -a command
  program=$(realpath "$1/guide_$2") || return
  read -ra command <<<"${VORN_EMULATOR:-}"
  command+=("$program" "${@:3}")
  place=$(mktemp -d) || return
  (cd "$place" && VORN_DLOG_PRIORITY=S "${command[@]}") || status=$?
  rm -rf "$place"
  return "$status"
}
