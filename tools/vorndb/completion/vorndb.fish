# Completion of vorndb's command line for fish. The program has the candidates; without any,
# fish completes names of files.
function __vorndb_candidates
    set -l words (commandline --tokenize --cut-at-cursor --current-process)
    set -l word (commandline --current-token --cut-at-cursor)
    set -l program (string replace --regex '^~/' "$HOME/" -- $words[1])
    set -l candidates ($program complete -- $words[2..] "$word" 2>/dev/null)
    if test (count $candidates) -eq 0
        __fish_complete_path "$word"
    else
        printf '%s\n' $candidates
    end
end
complete --command vorndb --no-files --arguments '(__vorndb_candidates)'
