#!/bin/sh
# two_hosts.sh COMMAND [ARG...]: runs a command on a host that is joined by a cable to a far host.
#
#   here    rmnet0 10.11.0.1/24, fd11::1/64, and loopback
#   there   far0   10.11.0.2/24, fd11::2/64, and loopback; it routes 10.12.0.0/16, where nobody answers
#
# Both are network namespaces of its own, and so is the mount namespace: the command may mount file systems.
# FAR_HOST is the process that keeps the far host: "nsenter -t $FAR_HOST -n PROGRAM" runs a program there. To be
# run by device-tree, which ends that process too.
set -eu

if [ -z "${TWO_HOSTS_INSIDE-}" ]; then
    as_root=
    [ "$(id -u)" -eq 0 ] || as_root=--map-root-user
    exec env TWO_HOSTS_INSIDE=1 unshare $as_root --net --mount -- "$0" "$@"
fi

unshare --net sleep 1000 > /dev/null 2>&1 &
FAR_HOST=$!
export FAR_HOST
while [ "$(readlink /proc/$FAR_HOST/ns/net)" = "$(readlink /proc/$$/ns/net)" ]; do
    sleep 0.01
done

there() {
    nsenter -t "$FAR_HOST" -n "$@"
}

# Over IPv6 the kernel takes a second to find a neighbour whose first answer was lost, so both ends are given.
near_end=02:00:00:00:00:01
far_end=02:00:00:00:00:02

ip link set lo up
ip link add rmnet0 address $near_end type veth peer name far0 address $far_end netns "$FAR_HOST"
ip address add 10.11.0.1/24 dev rmnet0
ip address add fd11::1/64 dev rmnet0 nodad
ip link set rmnet0 up
ip neighbour add fd11::2 lladdr $far_end dev rmnet0
ip route add 10.12.0.0/16 via 10.11.0.2

there ip link set lo up
there ip address add 10.11.0.2/24 dev far0
there ip address add fd11::2/64 dev far0 nodad
there ip link set far0 up
there ip neighbour add fd11::1 lladdr $near_end dev far0
there ip route add blackhole 10.12.0.0/16

# The kernel drops what is sent before both ends of the cable are up.
for address in 10.11.0.2 fd11::2; do
    until ping -q -c 1 -W 0.1 $address > /dev/null 2>&1; do
        :
    done
done

exec "$@"
