#!/bin/bash
# man_page_test.sh PAGE PKG_CONFIG_FOLDER: the page is well-formed, and its first program compiles with what is installed.
set -eu -o pipefail

page=$1
[ -z "$(groff -man -Tascii -ww -z "$page" 2>&1)" ] || { echo "groff complains of $page" >&2; exit 1; }

flags=$(PKG_CONFIG_LIBDIR=$2 pkg-config --cflags quorapps)
# shellcheck disable=SC2086 # a list of words
sed -n '/^#include/,/^[.]fi$/{/^[.]fi$/q;p}' "$page" | tee /dev/stderr |
    cc -Wall -Wextra -Wno-unused-parameter -Werror $flags -fsyntax-only -x c -
