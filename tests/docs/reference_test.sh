#!/bin/bash
# reference_test.sh SOURCE: what doxygen reads of the headers, of the guides and of the lists.
set -eu -o pipefail

source=$1
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
cd "$work"

expect_line() {
    grep -Fqx -- "$2" "$1" || { echo "$1 has no line: $2"; cat "$1"; exit 1; }
}

"$source/docs/reference/doxygen_filter.py" "$source/apps/libapps/include/frwk_common.h" > header
expect_line header "@param req,req_len the body and its length in bytes; null and 0 for none."
expect_line header "@param reason any number; the modules define its meaning."
grep -q '^@return 0 if the request was answered, 1 E_APPS_ERR_MODULE' header || { echo "no result"; exit 1; }
expect_line header "    uint32_t uptime;     /**< seconds, as frwk_uptime returns them */"

"$source/docs/reference/doxygen_filter.py" "$source/apps/libapps/include/frwk_dbrm.h" > table
# shellcheck disable=SC2016 # no command
grep -q '^- `E_APPS_ERR_FORMAT`: it belongs to another product, or its content is malformed' table ||
    { echo "no table of results"; exit 1; }

mkdir docs
cat > docs/page.md << 'PAGE'
# A page
## What survives what?
See [below](#what-survives-what), [other](other.md), [there](other.md#a-place), [code](../examples/ask.c), [no](no.md).
```
# no heading, [no](link.md)
```
PAGE
touch docs/other.md
"$source/docs/reference/guide_filter.py" docs/page.md > guide
diff guide - << 'GUIDE'
# A page {#page-a-page}
## What survives what? {#page-what-survives-what}
See [below](#page-what-survives-what), [other](other.md), [there](#other-a-place), code, no.
```
# no heading, [no](link.md)
```
GUIDE

# Each message and each code is in the page of the lists.
"$source/docs/reference/message_lists.py" "$source/apps/libapps/include" > lists
rows=$(grep -hcE '^APPS_(MESSAGE_ID|ERR_CODE)\(' "$source"/apps/libapps/include/apps_message.def)
codes=$(grep -hcE '^APPS_(MESSAGE_ID|ERR_CODE)\(' "$source"/apps/libapps/include/apps_err.def)
[ "$(grep -cE '^\| -?[0-9]+ \| E_' lists)" = $((rows + codes)) ] || { echo "rows are missing"; exit 1; }
expect_line lists "| 2002 | E_APPS_MSG_ZNDB_GET |"
expect_line lists "| -1 | E_APPS_ERR_FAILURE |"
