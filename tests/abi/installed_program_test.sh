#!/bin/bash
# installed_program_test.sh CASE: tests of what is installed, and of a C99 program outside the tree that knows
# nothing else. The environment describes the build: BUILD, WORK, LIBDIR, INCLUDEDIR, BINDIR, CMAKE, CC, GENERATOR,
# FLAGS, LIBS and LAUNCHER (the device tree's).
set -eu -o pipefail

here=$(dirname "$(readlink -f "$0")")
prefix=$WORK/prefix
headers=$prefix/$INCLUDEDIR/quorapps
strict="-std=c99 -Wall -Wextra -pedantic -Werror"

fail() {
    echo "$*" >&2
    exit 1
}

# names FOLDER...
names() {
    find "$@" -type f -printf "%f\n" | sort
}

# The other tests use what this one leaves: the installed files, moved since.
InstallsAndMoves() {
    rm -rf "$WORK"
    "$CMAKE" --install "$BUILD" --prefix "$WORK/first_prefix" > /dev/null
    mv "$WORK/first_prefix" "$prefix"
    ! grep -r first_prefix "$prefix" --include="*.pc" --include="*.cmake" || fail "the prefix is fixed"
}

HasEveryHeaderAndTheSonameLinks() {
    local name
    for name in quorapps quorbase mal; do
        [ -L "$prefix/$LIBDIR/lib$name.so" ] && [ -L "$prefix/$LIBDIR/lib$name.so.1" ]
        [ -f "$(readlink -f "$prefix/$LIBDIR/lib$name.so")" ]
        readelf -d "$prefix/$LIBDIR/lib$name.so" | grep "SONAME.*\[lib$name.so.1\]" > /dev/null
    done
    diff <(names "$here/../../"{apps/libapps,base,modem}/include) <(names "$headers")
}

ProgramIncludesEveryHeader() {
    diff <(names "$headers" | grep "[.]h$") \
        <(sed -n 's/^#include "\(.*\)"/\1/p' "$here/installed_program/main.c" | sort)
}

run() {
    local output
    output=$("$LAUNCHER" -- env LD_LIBRARY_PATH="$prefix/$LIBDIR" "$@")
    diff "$here/installed_program/expected.txt" - <<< "$output"
}

BuildsWithPkgConfig() {
    local found
    found=$(PKG_CONFIG_LIBDIR=$prefix/$LIBDIR/pkgconfig pkg-config --cflags --libs quorapps)
    # shellcheck disable=SC2086 # lists of words
    "$CC" $FLAGS $strict "$here/installed_program/main.c" $found $LIBS -o "$WORK/with_pkg_config"
    run "$WORK/with_pkg_config"
}

BuildsWithFindPackage() {
    "$CMAKE" -S "$here/installed_program" -B "$WORK/with_cmake" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" \
        -DCMAKE_C_FLAGS="$FLAGS $strict" -DCMAKE_EXE_LINKER_FLAGS="$LIBS" -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
    "$CMAKE" --build "$WORK/with_cmake" > /dev/null
    run "$WORK/with_cmake/installed_program"
}

RunsTheInstalledService() {
    "$LAUNCHER" -- env LD_LIBRARY_PATH="$prefix/$LIBDIR" sh -ec '
        "$1" & until [ -S /tmp/m_tmp/ipc/zndb ]; do sleep 0.01; done' sh "$prefix/$BINDIR/zndb"
}

"$1"
