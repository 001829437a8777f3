#!/bin/sh
# own_processes.sh COMMAND [ARG...]: runs a command that sees no processes but its own.
#
# For tests that count the calls of a function that looks at all processes: those of the machine come and go. The
# command gets a PID namespace with its own /proc. Where the kernel allows none, it runs without. To be run by
# device-tree.
set -eu

if [ -n "${OWN_PROCESSES_INSIDE-}" ]; then
    # The first process of the namespace adopts orphans. It reaps them while it waits.
    unset OWN_PROCESSES_INSIDE
    "$@" &
    wait $!
    exit
fi

# Root needs no user namespace. Where it may not do without one, as in a container, it gets one as anybody does.
as_user=
separate() {
    unshare ${as_user:+"$as_user"} --pid --fork --kill-child --mount-proc -- "$@"
}

separate true 2> /dev/null || as_user=--map-current-user
if separate true 2> /dev/null; then
    export OWN_PROCESSES_INSIDE=1
    separate "$0" "$@"
    exit
fi
exec "$@"
