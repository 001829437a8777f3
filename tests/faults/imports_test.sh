#!/bin/sh
# Every call that a library makes into the C library is one that is made to fail, or one that can't.
#
#     imports_test.sh NM TESTS LIBRARY...
#
# TESTS: the folder of all tests.
set -eu

nm=$1
tests=$2
shift 2

known=$(
    grep -v '^QUOR_SURE_CALL' "$tests/support/libc_calls.def" |
        sed -n 's/^QUOR_[A-Z_]*([^,]*, [^,]*, \([a-z0-9_]*\),.*/\1/p'
    grep -v '^#' "$tests/faults/calls_that_cannot_fail.txt"
)

status=0
for library in "$@"; do
    for call in $("$nm" -D --undefined-only "$library" | sed -n 's/.* \([a-z_][a-z0-9_]*\)@GLIBC_.*/\1/p'); do
        if ! echo "$known" | grep -qw "$call"; then
            echo "$library: $call is neither made to fail nor known not to"
            status=1
        fi
    done
done
exit $status
