#!/bin/bash
# manual_date_test.sh CMAKE SOURCE: the date of the man pages is that of the release, and until then the one that a
# reproducible build sets.
set -eu -o pipefail

cmake=$1
source=$2
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

cat > "$work/date.cmake" << CMAKE
include($source/cmake/QuorManual.cmake)
message(STATUS "\${QUOR_MANUAL_DATE}")
CMAKE

expect_date() {
    local date
    printf '# Changelog\n\n## %s\n\n## 0.9.0 (1999-12-31)\n' "$2" > "$work/CHANGELOG.md"
    date=$(SOURCE_DATE_EPOCH=981173106 "$cmake" "-DPROJECT_SOURCE_DIR=$work" -P "$work/date.cmake")
    [ "$date" = "-- $1" ] || { echo "$2: $date"; exit 1; }
}

expect_date 2001-02-03 '1.0.0 (unreleased)'
expect_date 2027-01-15 '1.0.0 (2027-01-15)'
