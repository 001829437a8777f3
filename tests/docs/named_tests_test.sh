#!/bin/bash
# named_tests_test.sh ROOT PAGE...: each `Suite.Test` that a page names, in code quotes, is a test of the tree.
set -eu

root=$1
shift
# TEST(Suite, Test), TEST_F and TEST_P, also where the line was broken after the comma.
tests=$(find "$root/tests" -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
    grep -oE 'TEST(_F|_P)?\([A-Za-z0-9_]+, *[A-Za-z0-9_]+\)' | sed -E 's/TEST(_F|_P)?\(([A-Za-z0-9_]+), *([A-Za-z0-9_]+)\)/\2.\3/')
failed=0
named=0
for page in "$@"; do
    while read -r name; do
        named=$((named + 1))
        if ! grep -qxF "$name" <<< "$tests"; then
            echo "$page names a test that does not exist: $name"
            failed=1
        fi
    done < <(grep -oE '`[A-Z][A-Za-z0-9]+\.[A-Z][A-Za-z0-9_]{9,}`' "$page" | tr -d '`' | sort -u)
done
echo "$named tests named"
[ "$named" -gt 0 ] || failed=1
exit "$failed"
