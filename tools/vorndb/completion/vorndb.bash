# shellcheck shell=bash
# Completion of vorndb's command line for bash. The program has the candidates; without any,
# bash completes names of files.
_vorndb() {
  # A tilde, as it was typed, means nothing to a program.
  local program=${COMP_WORDS[0]/#\~\//$HOME/} words=() word join=
  # Bash splits words at "=".
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    if [[ ($word == = || $join) && ${#words[@]} -gt 0 ]]; then
      words[-1]+=$word
    else
      words+=("$word")
    fi
    join=${word#"${word%=}"}
  done
  mapfile -t COMPREPLY < <("$program" complete -- "${words[@]}" 2>/dev/null)
  # It replaces the part behind the "=" only.
  [[ ${words[-1]} != *=* ]] || COMPREPLY=("${COMPREPLY[@]#*=}")
  [[ ${COMPREPLY[0]-} ]] || COMPREPLY=()
  # compopt fails outside of a completion, as in a test.
  [[ ${COMPREPLY[0]-} != *[=.] ]] || compopt -o nospace 2>/dev/null || true
}
complete -o default -F _vorndb vorndb
