#!/bin/bash
# expect_own_memory.sh COMMAND...: runs a program that must call the memory functions of own_memory.c.
set -eu

status=0
output=$("$@" 2>&1) || status=$?
echo "$output"
grep -q 'own os_mem_malloc' <<< "$output"
grep -q 'own os_mem_free' <<< "$output"
exit "$status"
