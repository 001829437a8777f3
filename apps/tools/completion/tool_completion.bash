# Completes the words of the device's tools in bash. Each tool knows best what may follow, and tells.
_quor_tool() {
    mapfile -t COMPREPLY < <("$1" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2> /dev/null)
}
complete -o default -F _quor_tool zndb_tool apptest monitor_tool logtool
