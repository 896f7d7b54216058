# Completion of vorncheck's command line for fish. The options are in its help, the identifiers in
# its message about a wrong one.
function __vorncheck_identifiers
    set -l refusal (vorncheck '--only=?' true 2>&1)
    __fish_append , (string replace --regex '.*: ' '' -- $refusal | string split ' ')
end

function __vorncheck_has_program
    set -l argv (commandline --tokenize --cut-at-cursor --current-process)[2..]
    argparse --stop-nonopt $__vorncheck_options -- $argv 2>/dev/null
    and set --query argv[1]
end

set --global __vorncheck_options
for line in (vorncheck --help 2>/dev/null)
    string match --regex --quiet '^  (-.,)?--(?<long>\S+) (?<value>[A-Z]*)' -- $line
    or continue
    set -l takes
    switch $value
        case ID
            set takes --exclusive --arguments '(__vorncheck_identifiers)'
        case FILE
            set takes --require-parameter --force-files
        case '?*'
            set takes --exclusive
    end
    set --append __vorncheck_options $long(string replace --regex '.+' = -- "$value")
    complete --command vorncheck --condition 'not __vorncheck_has_program' \
        --long-option $long $takes
end
set -l with_value (string replace --filter = '' -- --$__vorncheck_options)
complete --command vorncheck --exclusive --arguments "(__fish_complete_subcommand -- $with_value)"
