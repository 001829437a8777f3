#!/bin/bash
# function_pages_test.sh GENERATOR: what the man pages of functions are made of, and what is refused.
set -eu -o pipefail

generator=$1
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
cd "$work"

fail() {
    echo "$*"
    exit 1
}

make_pages() {
    "$generator" --version 9.8 --date 2001-02-03 --output pages --exports made.map made.h
}

cat > made.map << 'MAP'
{
    made_up;
};
MAP
cat > made.h << 'HEADER'
/*
 * Made for a test. Any thread may call the functions.
 */
#ifndef MADE_H
#define MADE_H

/* ---- Numbers --------------------------------------------------------------------------------------- */
/*
 * All of them count.
 */

/*
 * Finds a number, as made_up does.
 *
 * first, second: what is counted. third: a flag.
 *
 * It takes a while - see made.h.
 *
 * Returns 0, or:
 *   MADE_LOST  the number was lost
 *              on its way
 */
int made_up(int first, const char *second, void (*third)(int));

#endif
HEADER
make_pages || fail "the pages are not made"
cat > expected << 'PAGE'
.TH MADE_UP 3 "2001-02-03" "quorapps 9.8" "Library calls"
.ad l
.SH NAME
made_up \- find a number, as made_up does
.SH SYNOPSIS
.nf
.B #include <made.h>
.PP
\fBint made_up(int first, const char *second, void (*third)(int));\fP
.PP
Compile and link with $(pkg\-config \-\-cflags \-\-libs quorapps).
.fi
.SH DESCRIPTION
\fBmade_up\fP() finds a number, as \fBmade_up\fP() does.
.PP
It takes a while \- see made.h.
.SH PARAMETERS
.TP
\fIfirst\fP, \fIsecond\fP
what is counted.
.TP
\fIthird\fP
a flag.
.SH RETURN VALUE
Returns 0, or:
.TP
\fBMADE_LOST\fP
the number was lost on its way
.SH THREADS
Any thread may call the functions.
.SH NOTES
.SS "Numbers"
All of them count.
.SS "made.h"
Made for a test.
Any thread may call the functions.
.SH SEE ALSO
\fBapptest\fP(1)
PAGE
diff expected pages/made_up.3 || fail "the page differs"

expect_refusal() {
    if make_pages 2> errors; then
        fail "accepted: $1"
    fi
    grep -qx "made_up: $1" errors || fail "$(cat errors)"
}

sed -i '/^ \* Returns/,/^ \*              on/d' made.h
expect_refusal "nothing says what it returns"
sed -i 's/ Any thread may call the functions[.]//' made.h
expect_refusal "nothing says which threads may call it"
sed -i '/^ \* Finds/,/^ \* It takes/d' made.h
expect_refusal "it has no comment"
sed -i '/^int/d' made.h
expect_refusal "no header declares it"
