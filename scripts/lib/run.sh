# shellcheck shell=bash
# Sourced by the scripts.
#
#   run_quietly LABEL COMMAND...  prints the label and runs the command; its
#   output is shown only when it fails. Returns the command's status.

run_quietly() (
  label=$1
  shift
  printf '%s\n' "$label"
  log=$(mktemp)
  trap 'rm -f "$log"' EXIT
  status=0
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if ((status != 0)); then
    cat "$log" >&2
    printf 'Failed (status %d): %s\n' "$status" "$label" >&2
  fi
  exit "$status"
)
