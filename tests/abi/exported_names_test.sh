#!/bin/bash
# exported_names_test.sh CASE NM LIBRARY MAP INCLUDE_FOLDER COMPILER [FLAG...]
#
# Compares three lists, each both ways: the names that a library exports, those in its linker map, and the
# functions and objects that its public headers declare. What the map lists as ..._PRIVATE is for programs of the same
# build: no public header declares it.
set -eu -o pipefail

test_case=$1 nm=$2 library=$3 map=$4 include=$5
shift 5
compiler=("$@" "-I$include")

exported() {
    "$nm" --dynamic --defined-only --format=posix "$library" |
        awk '$2 != "A" { sub(/@.*/, "", $1); print $1 }' | sort
}

# mapped_in NODES: the names in the map's nodes whose own names match.
mapped_in() {
    awk -v nodes="$1" '
        /{$/ { wanted = $1 ~ nodes }
        /local:/ || /^}/ { inside = 0 }
        inside { sub(/;.*/, ""); print $1 }
        /global:/ { inside = wanted }' "$map" | sort
}

mapped() {
    mapped_in .
}

public() {
    comm -23 <(mapped) <(mapped_in '_PRIVATE$')
}

# The preprocessor removes comments and names the file of each part; what lies in braces declares no name.
declarations() {
    printf '#include "%s"\n' "$include"/*.h | "${compiler[@]}" -std=c99 -E -x c - |
        awk -v folder="$include/" '
        /^# [0-9]+ "/ { ours = index($3, "\"" folder) == 1; next }
        /^#/ || !ours { next }
        {
            for (i = 1; i <= length($0); i++) {
                c = substr($0, i, 1)
                if (c == "{") depth++
                else if (c == "}") depth--
                else if (depth == 0) printf "%s", (c == ";" ? ";\n" : c)
            }
            printf " "
        }'
}

declared() {
    declarations | awk '
        /^ *typedef / { next }
        match($0, /[A-Za-z_0-9]+ *\(/) {
            name = substr($0, RSTART, RLENGTH); sub(/ *\($/, "", name); print name; next
        }
        /^ *extern / { sub(/(\[.*)?;$/, ""); print $NF }' | sort
}

compare() {
    local first=$1 second=$2
    [ -n "$($first)" ] || { echo "nothing is $first"; exit 1; }
    echo "< $first only, > $second only:"
    diff <($first) <($second)
}

ExportsWhatItsMapLists() {
    compare exported mapped
}

MapListsWhatItsHeadersDeclare() {
    compare public declared
}

"$test_case"
