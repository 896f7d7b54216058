# shellcheck shell=bash
# Completion of vorncheck's command line for bash. The options are in its help, the identifiers in
# its message about a wrong one.
_vorncheck() {
  # A tilde, as it was typed, means nothing to a program.
  local program=${COMP_WORDS[0]/#\~\//$HOME/} word=${COMP_WORDS[COMP_CWORD]#=} value='' index help
  help=$("$program" --help 2>/dev/null)
  # Bash splits words at "=".
  for ((index = 1; index < COMP_CWORD; index++)); do
    case ${value:+value}${COMP_WORDS[index]} in
      value=) ;;
      value*) value='' ;;
      -*) [[ $help =~ \ "${COMP_WORDS[index]} "([A-Z]+) ]] && value=${BASH_REMATCH[1]} ;;
      *) break ;;
    esac
  done
  if [[ $value == ID ]]; then
    help=$("$program" --only=? true 2>&1)
    mapfile -t COMPREPLY < <(compgen -P "${word%"${word##*,}"}" -W "${help##*:}" -- "${word##*,}")
  elif [[ $value ]]; then
    COMPREPLY=()
  elif ((index == COMP_CWORD)) && [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(grep -o '^  -[^ ]*' <<<"${help//,/$'\n'  }")" -- "$word")
  else
    _command_offset "$index"
  fi
}
complete -o default -F _vorncheck vorncheck
