#!/bin/sh
# Every call that a library makes into the C library is one that is made to fail, or one that can't.
#
#     imports_test.sh NM FOLDER LIBRARY...
#
# FOLDER: where libc_calls.def and calls_that_cannot_fail.txt lie.
set -eu

nm=$1
folder=$2
shift 2

known=$(
    sed -n 's/^QUOR_CALL(\([a-z0-9_]*\),.*/\1/p' "$folder/libc_calls.def"
    grep -v '^#' "$folder/calls_that_cannot_fail.txt"
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
