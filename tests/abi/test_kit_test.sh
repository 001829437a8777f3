#!/bin/bash
# test_kit_test.sh CASE: tests of what the installed package brings to test modules with, by projects outside the tree
# that know nothing else. The environment is that of installed_program_test.sh.
set -eu -o pipefail

here=$(dirname "$(readlink -f "$0")")
prefix=$WORK/prefix
example=$here/../../examples/tested-module
export PATH=$prefix/$BINDIR:$PATH LD_LIBRARY_PATH=$prefix/$LIBDIR

fail() {
    echo "$*" >&2
    exit 1
}

# build NAME SOURCE [OPTION...]: configures and builds a project
build() {
    local build=$WORK/$1 source=$2
    shift 2
    rm -rf "$build"
    "$CMAKE" -S "$source" -B "$build" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_C_FLAGS="$FLAGS" -DCMAKE_EXE_LINKER_FLAGS="$LIBS" "$@" > "$build.log" || { cat "$build.log"; fail "$source is not configured"; }
    "$CMAKE" --build "$build" > "$build.log" || { cat "$build.log"; fail "$source is not built"; }
}

# run NAME: its tests; prints what they print. PATH and libraries are found by the package.
run() {
    env -u LD_LIBRARY_PATH PATH="${PATH#*:}" ctest --test-dir "$WORK/$1" --output-on-failure 2>&1
}

# passes NAME
passes() {
    local output
    output=$(run "$1") || fail "$output"
    grep -q '^100% tests passed, 0 tests failed out of 3$' <<< "$output" || fail "$output"
}

# changed_example NAME TEXT BY: a copy of the example whose module has another line
changed_example() {
    rm -rf "${WORK:?}/$1.source"
    cp -r "$example" "$WORK/$1.source"
    grep -qF "$2" "$WORK/$1.source/sms.c"
    sed -i "s/$2/$3/" "$WORK/$1.source/sms.c"
}

RunsTheTestsOfTheExample() {
    build tested_module "$example"
    passes tested_module
}

RunsTheTestsOfTheExampleWithSanitizers() {
    build sanitized_module "$example" -DSANITIZE=ON
    passes sanitized_module
}

ShowsALeakOfAModule() {
    local output
    changed_example leak 'g_count++;' 'g_count++; { char *volatile lost = strdup("lost"); lost = NULL; (void)lost; }'
    build leak "$WORK/leak.source" -DSANITIZE=ON
    output=$(run leak) && fail "the leak is not noticed"
    grep -q 'LeakSanitizer: detected memory leaks' <<< "$output" || fail "$output"
    grep -q 'in count_one .*sms[.]c:' <<< "$output" || fail "$output"
    grep -qE '^device-test: sms ended with [1-9][0-9]* when it was asked to end$' <<< "$output" || fail "$output"
}

FailsATestForEachReasonAndSaysWhich() {
    local output line
    build failing_tests "$here/failing_tests"
    output=$(run failing_tests) && fail "$output"
    grep -q '^0% tests passed, 9 tests failed out of 9$' <<< "$output" || fail "$output"
    while read -r line; do
        grep -qF -e "$line" <<< "$output" || fail "'$line' is missing: $output"
    done < "$here/failing_tests/expected.txt"
}

# The module and the library have the thread sanitizer, or none; a semaphore hands over what its sender has written.
FindsNoRaceInAModuleWithAQueue() {
    build queue_module "$here/queue_module"
    run queue_module > "$WORK/queue_module.out" || { cat "$WORK/queue_module.out"; fail "the test fails"; }
}

# valgrind reports what the suppressions name, and nothing else.
IsQuietUnderValgrindWithTheSuppressions() {
    local check="valgrind -q --leak-check=full --error-exitcode=9"
    build checked_module "$here/queue_module"
    QUORAPPS_MODULE_WRAPPER=$check run checked_module > "$WORK/checked_module.out" && fail "nothing is to be suppressed"
    grep -q 'sms ended with 9 when it was asked to end' "$WORK/checked_module.out" || fail "valgrind did not run"
    QUORAPPS_MODULE_WRAPPER="$check --suppressions=$prefix/share/quorapps/valgrind.supp" run checked_module \
        > "$WORK/checked_module.out" || { cat "$WORK/checked_module.out"; fail "the test fails"; }
}

"$1"
