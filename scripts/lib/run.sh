# shellcheck shell=bash
# Sourced by the scripts.
#
#   run_quietly LABEL COMMAND...  prints the label and runs the command; its
#   output is shown only when it fails. Returns the command's status.
#
#   without_randomization COMMAND...  runs it with addresses as sanitizers need them.

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

# The sanitizers need their shadow memory at fixed addresses, which some kernels
# spread other mappings over. A container may forbid the remedy.
without_randomization() {
  if setarch --addr-no-randomize true 2>/dev/null; then
    setarch --addr-no-randomize "$@"
  else
    "$@"
  fi
}
