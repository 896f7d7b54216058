# shellcheck shell=bash
# Completion of vorndb's command line for bash. The program has the candidates; without any,
# bash completes names of files.
_vorndb() {
  # A tilde, as it was typed, means nothing to a program.
  local program=${COMP_WORDS[0]/#\~\//$HOME/}
  mapfile -t COMPREPLY < <("$program" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  # compopt fails outside of a completion, as in a test.
  [[ ${COMPREPLY[0]-} != *[=.] ]] || compopt -o nospace 2>/dev/null || true
}
complete -o default -F _vorndb vorndb
