#!/bin/bash
# docs_script_test.sh SOURCE: script/docs on a machine without doxygen, played by stand-ins for the package manager.
set -eu

work=$(mktemp -d)
mkdir -p "$work/tree" "$work/bin"
cp -r "$1/script" "$work/tree"
ln -s "$1/docs" "$1/apps" "$work/tree"

# stand_in NAME TEXT: a program of the machine
stand_in() {
    printf '#!/bin/sh\n%s\n' "$2" > "$work/bin/$1"
    chmod +x "$work/bin/$1"
}

stand_in dpkg-query 'exit 1'
stand_in sudo 'exec "$@"'
stand_in apt-get 'case "$*" in *install*doxygen*) echo installed >> "$WORK/calls" ;; esac'
stand_in doxygen 'echo "doxygen $*" >> "$WORK/calls"'

WORK=$work PATH=$work/bin:$PATH "$work/tree/script/docs" > "$work/output"
printf '%s\n' installed "doxygen docs/Doxyfile" | diff - "$work/calls"
