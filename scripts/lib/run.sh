# shellcheck shell=bash
# Sourced by the scripts, after they changed to the root of the checkout.

# require_arguments PATTERN "$@": the arguments, joined by spaces, must match the extended regular
# expression. Prints the script's header comment for --help, or on stderr if they do not.
require_arguments() {
  local pattern=$1 arguments="${*:2}"
  case $arguments in
    -h | --help) print_header && exit ;;
  esac
  [[ $arguments =~ ^($pattern)$ ]] || { print_header >&2 && exit 2; }
}

print_header() {
  (cd "$OLDPWD" && sed -n '2,/^[^#]\|^$/s/^# \{0,1\}//p' "$0")
}

# run_quietly LABEL COMMAND...: one line with the label and the seconds that the command
# took; its output only if it fails. Returns its status.
run_quietly() {
  local label=$1 start=$SECONDS output status=0
  printf '%s ...' "$label"
  output=$("${@:2}" 2>&1 </dev/null) || status=$?
  printf ' %d s\n' $((SECONDS - start))
  if ((status != 0)); then
    printf '%s\nFailed (status %d): %s\n' "$output" "$status" "$label" >&2
  fi
  return "$status"
}

# build_preset PRESET: configures and builds. The build runs the test programs, with their
# sanitizers, to list the tests.
build_preset() {
  run_quietly "$1: configure" cmake --preset "$1"
  run_quietly "$1: build" without_randomization cmake --build --preset "$1"
}

# For cmake: neither tests nor examples nor the tools.
# shellcheck disable=SC2034
library_alone=(-DVORN_BUILD_{TESTS,EXAMPLES,TOOLS,CHECKER}"=OFF")

# The sanitizers need their shadow memory at fixed addresses, which some kernels
# use for other mappings. A container may forbid the remedy.
without_randomization() {
  if setarch --addr-no-randomize true 2>/dev/null; then
    setarch --addr-no-randomize "$@"
  else
    "$@"
  fi
}
