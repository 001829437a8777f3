#!/bin/bash
# Tests of the device-tree launcher: device_tree_test.sh LAUNCHER CASE. A case is one of the functions below;
# it fails with the first command that does.
set -eu

launcher=$1

fail() {
    echo "$*" >&2
    exit 1
}

# expect_status WANTED COMMAND...
expect_status() {
    local wanted=$1 status=0
    shift
    "$@" || status=$?
    [ "$status" -eq "$wanted" ] || fail "status $status, not $wanted, of: $*"
}

wait_until() {
    for _ in $(seq 500); do
        if "$@" 2>/dev/null; then return 0; fi
        sleep 0.01
    done
    fail "never came true: $*"
}

# gone PID: it has ended, be it reaped or not
gone() {
    ! grep -qs "^State:[[:space:]]*[^ZX[:space:]]" "/proc/$1/status"
}

MakesTheDeviceFoldersFresh() {
    local found
    found=$("$launcher" -- find /m_data /m_webui /tmp/m_tmp | sort | tr '\n' ' ')
    [ "$found" = "/m_data /m_data/factor /m_data/usr /m_data/usr_permanent \
/m_webui /m_webui/usr /m_webui/usr/db /tmp/m_tmp " ] || fail "$found"
}

LetsTheDeviceFoldersBeWritten() {
    "$launcher" -- sh -ec 'for folder in /m_data /m_webui /tmp /tmp/m_tmp /etc /usr/bin /dev/shm; do
        echo text > $folder/device_tree_$$; rm $folder/device_tree_$$; done'
}

HasTheFoldersOfToolsForItsOwn() {
    [ "$("$launcher" -- stat -Lc %u / /usr /usr/bin /usr/sbin | sort -u)" = "$(id -u)" ]
}

LeavesTheHostUntouched() {
    local name=device_tree_test_$$ path
    "$launcher" -- sh -ec "touch /etc/$name /usr/bin/$name /dev/shm/$name /tmp/$name /tmp/m_tmp/$name
        rm /etc/passwd; echo > /etc/passwd"
    for path in /etc /usr/bin /dev/shm /tmp /tmp/m_tmp; do
        [ ! -e "$path/$name" ] || fail "$path/$name is on the host"
    done
    [ -s /etc/passwd ]
}

ProtectsTheHostsOwnFilesBehindTheLinks() {
    "$launcher" -- sh -c 'for original in /.originals*/etc /.originals*/usr/bin; do
        ! touch "$original/device_tree_test" 2>/dev/null || exit 1; done'
}

KeepsTheHostsConfigurationOfModulesOut() {
    # The outer tree plays a host that has such files.
    "$launcher" -- sh -ec 'touch /etc/quor_apps_cfg.xml /etc/quor_apps_startup /etc/quor_product.key \
        /usr/bin/apps_init
        "$1" -- sh -ec "! ls /etc/quor_* /usr/bin/apps_init 2>/dev/null"' sh "$launcher"
}

KeepsTreesApart() {
    "$launcher" -- sh -ec 'touch /m_data/usr/outer /tmp/m_tmp/outer
        "$1" -- sh -ec "test ! -e /m_data/usr/outer; test ! -e /tmp/m_tmp/outer; touch /m_data/usr/inner"
        test ! -e /m_data/usr/inner' sh "$launcher"
}

RunsTheHostsPrograms() {
    [ "$("$launcher" -- awk 'BEGIN { print 6 * 7 }')" = 42 ]
}

HasNoLogSocket() {
    "$launcher" -- test ! -e /dev/log
}

HasThePlainDevices() {
    "$launcher" -- sh -ec 'test -c /dev/full; head -c 4 /dev/zero > /dev/null
        head -c 4 /dev/urandom > /dev/null; echo out > /dev/stdout' | grep -q out
}

HasTerminalsOfItsOwn() {
    "$launcher" -- sh -ec 'test "$(ls /dev/pts)" = ptmx; script --quiet --command "test -t 1" /dev/null'
}

KeepsTheWorkingFolder() {
    local folder
    folder=$(mktemp -d)
    cd "$folder"
    [ "$("$launcher" -- pwd)" = "$folder" ] || fail "not in $folder"
    rmdir "$folder"
}

StartsInTheRootWhereTheWorkingFolderIsMissing() {
    "$launcher" -- sh -ec 'mkdir /m_data/elsewhere; cd /m_data/elsewhere; exec "$1" pwd' sh "$launcher" | grep -qx /
}

ReturnsTheCommandsStatus() {
    expect_status 0 "$launcher" true
    expect_status 41 "$launcher" -- sh -c 'exit 41'
}

Returns128AndTheSignalOfAKilledCommand() {
    expect_status 137 "$launcher" -- sh -c 'kill -KILL $$'
}

Returns127ForAMissingProgram() {
    expect_status 127 "$launcher" -- /nowhere/at/all 2>/dev/null
}

Returns126ForAProgramThatCannotRun() {
    expect_status 126 "$launcher" -- /etc/passwd 2>/dev/null
}

Returns2ForAWrongUsage() {
    expect_status 2 "$launcher" 2>/dev/null
    expect_status 2 "$launcher" -- 2>/dev/null
    expect_status 2 "$launcher" --help 2>/dev/null
}

# second_user LAUNCHER...: becomes the second user, and the third, in the tree
second_user() {
    [ "$("$@" -- setpriv --reuid=60001 --clear-groups id -u)" = 60001 ] &&
        [ "$("$@" -- setpriv --reuid=60002 --clear-groups id -u)" = 60002 ]
}

HasASecondUserForRoot() {
    if [ "$(id -u)" -eq 0 ]; then second_user "$launcher"; fi
}

# So root may not mount by itself.
HasASecondUserForRootInANamespaceOfItsOwn() {
    if [ "$(id -u)" -eq 0 ]; then
        second_user setpriv --bounding-set=-sys_admin "$launcher"
    fi
}

KillsTheProcessesLeftBehind() {
    # A child, a daemon with a session of its own, and the daemon's child.
    local pids pid
    pids=$("$launcher" -- sh -ec 'cd /m_data
        sleep 600 > child & echo $! >> pids
        setsid -f sh -c "sleep 600 & echo \$! >> pids; echo \$\$ >> pids; wait" > daemon
        until [ "$(wc -l < pids)" -eq 3 ]; do sleep 0.01; done; cat pids')
    [ "$(echo "$pids" | wc -l)" -eq 3 ] || fail "started: $pids"
    for pid in $pids; do
        gone "$pid" || fail "process $pid is still there"
    done
}

PassesSigtermOnToTheCommand() {
    local out
    out=$(mktemp)
    "$launcher" -- sh -c 'trap "echo told; exit 7" TERM; echo ready; while :; do sleep 0.01; done' > "$out" &
    wait_until grep -q ready "$out"
    kill -TERM $!
    expect_status 7 wait $!
    grep -q told "$out"
    rm "$out"
}

EndsTheCommandWhenItIsKilledItself() {
    local out
    out=$(mktemp)
    "$launcher" -- sh -c 'echo $$; exec sleep 600' > "$out" &
    wait_until test -s "$out"
    kill -KILL $!
    wait_until gone "$(cat "$out")"
    rm "$out"
}

RefusesInOneLineWhereNamespacesAreNotAllowed() {
    local text
    text=$(mktemp)
    expect_status 2 unshare --user --map-root-user -- sh -ec 'echo 0 > /proc/sys/user/max_user_namespaces
        echo 0 > /proc/sys/user/max_mnt_namespaces; exec "$1" true' sh "$launcher" 2> "$text"
    cat "$text"
    [ "$(wc -l < "$text")" -eq 1 ] || fail "not one line"
    grep -q '^device-tree: namespaces are not allowed here' "$text"
    rm "$text"
}

NeedsNoPrivilege() {
    local folder run=()
    folder=$(mktemp -d)
    chmod 755 "$folder"
    cp "$launcher" "$folder/launcher"
    [ "$(id -u)" -ne 0 ] || run=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    (cd / && "${run[@]}" "$folder/launcher" -- sh -ec 'touch /m_data/usr/a /etc/a /usr/bin/a /tmp/m_tmp/a; id -u') |
        grep -vqx 0
    rm -r "$folder"
}

"$2"
