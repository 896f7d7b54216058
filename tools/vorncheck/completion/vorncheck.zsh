#compdef vorncheck
# Completion of vorncheck's command line for zsh. The options are in its help, the identifiers in
# its message about a wrong one.
local program=${~words[1]}
local -a options identifiers
options=(${(f)"$($program --help 2>/dev/null | sed -nE '
  s/^  (-.),(--[^ ]+) .*/\1\n\2/p; t
  s/^  (--[^ ]+) ID .*/\1=:identifier:_values -s , identifier $identifiers/p; t
  s/^  (--[^ ]+) FILE .*/\1=:file:_files/p; t
  s/^  (--[^ ]+) ([A-Z]+) .*/\1=:\2: /p; t
  s/^  (--[^ ]+) .*/\1/p')"})
identifiers=(${=${"$($program '--only=?' true 2>&1)"##*:}})
_arguments -S $options '(-):program:_command_names -e' '*::argument:_normal'
