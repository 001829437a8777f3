# Completes the words of device-tree in bash: its options, then a command, then that command's own words. What it offers
# is quoted, since bash would run a command that a program's name holds.
_device_tree() {
    local at=1 ended="" function
    while ((at < COMP_CWORD)) && [[ ${COMP_WORDS[at]} == --?* ]]; do
        ((++at))
    done
    if ((at < COMP_CWORD)) && [[ ${COMP_WORDS[at]} == -- ]]; then
        ended=1
        ((++at))
    fi

    COMPREPLY=()
    if ((at == COMP_CWORD)); then
        _device_tree_first_word "${COMP_WORDS[at]}" "$ended"
    elif declare -F _command_offset > /dev/null; then
        _command_offset "$at"
    else
        function=$(complete -p "${COMP_WORDS[at]##*/}" 2> /dev/null | sed -n 's/.* -F \([^ ]*\) .*/\1/p')
        COMP_WORDS=("${COMP_WORDS[@]:at}")
        COMP_CWORD=$((COMP_CWORD - at))
        [[ -z $function ]] ||
            "$function" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    fi
}

# $1: what is typed of the first word that is neither an option nor "--"; $2: not empty after "--". A path is left to
# bash, as nothing is offered.
_device_tree_first_word() {
    local word quoted
    [[ -n $2 || $1 != -* ]] || {
        mapfile -t COMPREPLY < <(compgen -W "--no-log --print-log --help --version" -- "$1")
        return
    }
    while IFS= read -r word; do
        printf -v quoted '%q' "$word"
        COMPREPLY+=("$quoted")
    done < <(compgen -c -- "$1" | sort -u)
}

complete -o default -F _device_tree device-tree
