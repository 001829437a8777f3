# Completes the words of the device's tools in bash. Each tool knows best what may follow, and prints it. Whoever sets
# a key chooses its name, so every word is quoted: bash would run a command that the name holds.
_quor_tool() {
    local words word quoted
    mapfile -t words < <("$1" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2> /dev/null)
    COMPREPLY=()
    for word in "${words[@]}"; do
        printf -v quoted '%q' "$word"
        COMPREPLY+=("$quoted")
    done
}
complete -o default -F _quor_tool zndb_tool apptest monitor_tool logtool
