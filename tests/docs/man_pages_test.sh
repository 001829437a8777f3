#!/bin/bash
# man_pages_test.sh SOURCE PAGES VERSION: checks the man pages that the build has made.
#
# SOURCE: the project's folder. PAGES: the folder with man1, man3, man5 and man7. VERSION: of the project.
set -eu -o pipefail

source=$1
pages=$2
version=$3
status=0

complain() {
    echo "$*"
    status=1
}

# Each exported function and object has a page, and no other has one.
exported=$(sed -n 's/^    \([a-z][a-z0-9_]*\);.*/\1.3/p' "$source/apps/libapps/libquorapps.map" \
    "$source/base/libquorbase.map" "$source/modem/libmal.map" | sort)
[ -n "$exported" ]
diff <(echo "$exported") <(find "$pages/man3" -type f -printf '%f\n' | sort) || complain "the pages of section 3 differ"

warnings=$(groff -man -Tascii -ww -z "$pages"/man?/* 2>&1) || complain "groff fails"
[ -z "$warnings" ] || complain "$warnings"

# Complains about those of the files in which no line matches.
lacking() {
    local what=$1 pattern=$2 page
    shift 2
    while read -r page; do
        complain "${page##*/}: no $what"
    done < <(grep -ELe "$pattern" "$@")
}

lacking "date or version" "^[.]TH [^ ]+ [1357] \"[0-9]{4}-[0-9]{2}-[0-9]{2}\" \"quorapps $version\" " "$pages"/man?/*
for section in NAME DESCRIPTION 'SEE ALSO'; do
    lacking "section $section" "^[.]SH \"?$section\"?\$" "$pages"/man?/*
done
lacking prototype '^\\fB.*;\\fP$' "$pages"/man3/*
lacking header '^[.]B #include <.*[.]h>$' "$pages"/man3/*
lacking "word about threads" '^[.]SH THREADS$' "$pages"/man3/*
lacking result '^(\\fB(void [^*]|extern )|[.]SH RETURN VALUE$)' "$pages"/man3/*

# A reference leads to a page of ours, or to one of the system.
while read -r page; do
    case "$page" in
        head.1 | journalctl.1 | logread.1 | ps.1 | syslog.3 | systemd.service.5) ;;
        *) ls "$pages"/man?/"$page" > /dev/null 2>&1 || complain "no page $page" ;;
    esac
done < <(cat "$pages"/man?/* | sed -n 's/^[.]BR \([a-z_.-]*\) (\([1357]\)).*/\1.\2/p' | sort -u)
exit "$status"
