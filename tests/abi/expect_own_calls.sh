#!/bin/bash
# expect_own_calls.sh "FUNCTION..." COMMAND...: runs a program that must call these functions of own_memory.c or
# own_modem.c.
set -eu

functions=$1
shift
status=0
output=$("$@" 2>&1) || status=$?
echo "$output"
for function in $functions; do
    grep -qx "own $function" <<< "$output"
done
exit "$status"
