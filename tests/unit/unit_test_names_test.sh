#!/bin/sh
# unit_test_names_test.sh ROOT: each source of the libraries and tools has a unit test of its own name, or a row in
# tests/unit/tested_elsewhere.txt, and each row there matches a source without one. The sources of apps/zndb are not
# compared: they are tested together, by tests/unit/zndb/database_*_test.cpp.
set -eu
cd "$1"
list=tests/unit/tested_elsewhere.txt
# The tests, and the sources that lack one.
tests=$(find tests/unit -name '*_test.cpp' -exec basename {} _test.cpp \;)
without=$(find base/src support apps/formats apps/libapps apps/tools modem/src -name '*.cpp' | sort | while read -r source; do
    printf '%s\n' "$tests" | grep -qx "$(basename "$source" .cpp)" || echo "$source"
done)

# matches SOURCE PATTERN
matches() {
    # shellcheck disable=SC2254 # a pattern
    case $1 in $2) true ;; *) false ;; esac
}

failed=0
for source in $without; do
    listed=no
    while IFS=: read -r pattern _; do
        if matches "$source" "$pattern"; then listed=yes; fi
    done < "$list"
    if [ $listed = no ]; then
        echo "$source has neither a unit test of its name nor a row in $list"
        failed=1
    fi
done
while IFS=: read -r pattern _; do
    used=no
    for source in $without; do
        if matches "$source" "$pattern"; then used=yes; fi
    done
    case $pattern in '#'*) used=yes ;; esac
    if [ $used = no ]; then
        echo "$list: no source without a test matches $pattern"
        failed=1
    fi
done < "$list"
exit $failed
