#!/bin/bash
# platform_contract_test.sh CASE: what a device's base library and modem client have to bring, compared with what is
# shipped, with the documents and with the tests' second base library. The environment describes the build: SOURCE, NM,
# BASE (our base library) and MAL (our modem client), SHIPPED (the framework and each program, by a blank) and, for the
# cases of that library, SECOND and LOADED (programs that are started with it).
set -eu -o pipefail
export LC_ALL=C

contract=$SOURCE/base/platform_contract.txt

# listed KIND...: the names of these kinds
listed() {
    local kind
    for kind; do
        awk -v kind="$kind" '$1 !~ /^#/ && $2 == kind { print $1 }' "$contract"
    done | sort
}

# defined LIBRARY...
defined() {
    "$NM" --dynamic --defined-only --format=posix "$@" |
        awk 'NF > 1 && $2 != "A" { sub(/@.*/, "", $1); print $1 }' | sort -u
}

# imported FILE: what it takes from our base library or modem client, "NAME w" for a weak import, "NAME U" for another
imported() {
    "$NM" --dynamic --undefined-only --format=posix "$1" | awk '{ sub(/@.*/, "", $1); print $1, $2 }' | sort |
        join - <(defined "$BASE" "$MAL")
}

# same WHAT LIST LIST: prints where two lists differ
same() {
    echo "$1:"
    diff "$2" "$3"
}

NothingElseIsNeededToLoadWhatIsShipped() {
    local file allowed
    allowed=$(listed given chosen)
    for file in $SHIPPED; do
        imported "$file" | awk '$2 != "w" { print $1 }' | comm -23 - <(echo "$allowed") |
            same "$file needs more" - /dev/null
    done
}

ExactlyTheOptionalCallsAreWeak() {
    local file
    for file in $SHIPPED; do
        imported "$file" | awk '$2 == "w" { print $1 }'
    done | sort -u | same "weak imports, optional calls" <(listed optional) -
}

EveryCallOfTheContractIsMade() {
    local file
    for file in $SHIPPED; do
        imported "$file" | awk '{ print $1 }'
    done | sort -u | same "contract, imports" <(listed given chosen optional) -
}

OurLibrariesBringAllOfIt() {
    same "missing in our libraries" <(listed given chosen optional | comm -23 - <(defined "$BASE" "$MAL")) /dev/null
}

# A row of the page is "| `HEADER` | given names | chosen names | optional names |".
ThePageOfPortingShowsIt() {
    awk -F'|' '/^\| `[a-z_0-9]+[.]h` \|/ && NF == 6 {
        split("given chosen optional", kinds, " ")
        gsub(/[` ]/, "", $2)
        for (i = 1; i <= 3; i++) {
            count = split($(i + 2), names, "`")
            for (j = 2; j <= count; j += 2) print names[j], kinds[i], $2
        }
    }' "$SOURCE/docs/porting.md" | sort |
        same "contract, page" <(grep -v '^#' "$contract" | sort) -
}

# A base library may end the process at an assertion, so there is one only where a module can't go on.
AssertionsAreMadeWhereTheyAreAllowed() {
    local file asserting='FRWK_ASSERT|OS_LOG_ASSERT|os_log_assert'
    grep -rlE "$asserting" --exclude-dir=quorbase_check "$SOURCE/apps" "$SOURCE/modem" |
        sort | while read -r file; do
        sed '/^#define FRWK_ASSERT/,/[^\\]$/d' "$file" | tr '\n' ' ' | { grep -oE "($asserting)\([^\"]*\"[^\"]*\"" || true; } |
            sed "s|^[^\"]*\"\(.*\)\"|$(basename "$file") \1|"
    done | sort | same "allowed, made" <(grep -v '^#' "$SOURCE/tests/abi/assertions.txt" | sort) -
}

SecondLibraryBringsTheContractAndNothingElse() {
    same "contract, second library" \
        <(awk '$1 !~ /^#/ && $2 != "optional" && $3 != "libmal.h" { print $1 }' "$contract" | sort) <(defined "$SECOND")
}

SecondLibraryIsWhatProgramsLoad() {
    local program folder
    folder=$(dirname "$SECOND")
    for program in $LOADED; do
        LD_LIBRARY_PATH=$folder LD_TRACE_LOADED_OBJECTS=1 "$program" | grep -F "=> $folder/libquorbase.so.1 "
    done
}

# A line of the list is "SUITE.TEST reason".
OnlyTestsThatThereAreAreLeftOut() {
    local program list=$SOURCE/tests/second_base/left_out.txt
    for program in $LOADED; do
        "$program" --gtest_list_tests 2> /dev/null | sed 's/ *#.*//' |
            awk '/^[^ ].*[.]$/ { suite = $1; next } /^  / { print suite $1 }'
    done | sort -u | comm -13 - <(awk '/^[A-Za-z_0-9\/]+[.]/ { print $1 }' "$list" | sort) |
        same "left out, and not there" - /dev/null
}

"$1"
