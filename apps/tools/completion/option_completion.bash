# Completes the options of programs that have nothing else to complete, as their help lists them; other words are
# files.
_quor_options() {
    COMPREPLY=()
    [[ ${COMP_WORDS[COMP_CWORD]} == -* ]] || return 0
    local options
    options=$("$1" --help 2> /dev/null | sed -n 's/^ .*\(--[a-z][-a-z]*\).*/\1/p')
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -o default -F _quor_options quorbase-check zndb
