#compdef vorndb
# Completion of vorndb's command line for zsh. The program has the candidates; without any,
# zsh completes names of files.
local -a candidates
candidates=(${(f)"$(${~words[1]} complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)"})
if ((${#candidates} == 0)); then
  _files
elif [[ $candidates[1] == *[=.] ]]; then
  compadd -S '' -- $candidates
else
  compadd -- $candidates
fi
