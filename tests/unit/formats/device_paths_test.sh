#!/bin/bash
# device_paths_test.sh APPS: device_paths.h is the only file below apps that spells out a path of the device. Comments
# may, to say what a call does.
set -u

found=$(grep -rnE --include='*.cpp' --include='*.h' '"(/m_data|/m_webui|/tmp/m_tmp|/etc/quor_|/proc/|/dev/)' "$1" |
    grep -v -e '/device_paths\.h:' -e ':[0-9]*: *\*' -e ':[0-9]*: */[*/]')
[ -z "$found" ] || { echo "$found"; exit 1; }
