#!/bin/bash
# Tests of the device-tree launcher: device_tree_test.sh LAUNCHER CASE. A case is one of the functions below;
# it fails with the first command that does. TOOLS is the folder of the product's programs.
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

HasNoLogSocketWhereNoneIsWanted() {
    "$launcher" --no-log -- sh -c 'test ! -e /dev/log && test ! -e /var/log/messages'
}

HasALogThatIsFresh() {
    "$launcher" -- sh -ec 'test -S /dev/log; test ! -s /var/log/messages; test "$(ls /var/log)" = messages'
    "$launcher" -- sh -ec 'test -d /var/lib'
}

# logged COMMAND: what the tree's log has after it, once it has a line
logged() {
    "$launcher" -- sh -ec "$1"'
        until [ -s /var/log/messages ]; do sleep 0.01; done; cat /var/log/messages'
}

KeepsMessagesAsALogDaemonDoes() {
    local line
    line=$(logged 'logger -p local7.warning -t wlan "the text"')
    grep -qE "^[A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [^ ]+ local7[.]warn wlan(\[[0-9]+\])?: the text\$" <<< "$line" || fail "$line"
}

# send TEXT: as one message
send='import os, socket, sys
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.sendto(os.fsencode(sys.argv[1]), "/dev/log")'

GivesMessagesATimeAndALevelWhereTheyHaveNone() {
    local line text
    for text in "plain text" "<999>plain text" "<>plain text" "<-1>plain text"; do
        line=$(logged "python3 -c '$send' '$text'")
        grep -qE "^[A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [^ ]+ user[.]notice .*plain text\$" <<< "$line" || fail "$line"
    done
}

KeepsAMessageInOneLine() {
    local line
    line=$(logged "python3 -c '$send' '<188>Nov  5 07:02:09 wlan[17]: one
two	three
'")
    grep -qE '^Nov  5 07:02:09 [^ ]+ local7[.]warn wlan\[17\]: one two three$' <<< "$line" || fail "$line"
}

# DEL, the 8-bit CSI as a character and as a byte, and a mark that turns the direction of the text.
unsafe=$(printf 'a\177b\302\233c\233d\342\200\256e')
unsafe_escaped='a\x7fb\xc2\x9bc\x9bd\xe2\x80\xaee'

EscapesWhatWouldControlATerminalInItsLog() {
    local line
    line=$(logged "python3 -c '$send' '<188>Nov  5 07:02:09 wlan[17]: $unsafe Größe'")
    grep -qF "wlan[17]: $unsafe_escaped Größe" <<< "$line" || fail "$line"
}

BeginsANewLogFileWhenOneIsLarge() {
    "$launcher" -- sh -ec 'head -c 16M /dev/zero >> /var/log/messages; logger -t wlan "one more"
        until grep -q "wlan.*one more" /var/log/messages; do sleep 0.01; done
        test "$(stat -c %s /var/log/messages.0)" -ge 16777216'
}

PrintsItsLogWhereAsked() {
    local text
    text=$(mktemp)
    # shellcheck disable=SC2094 # the command waits for what the launcher prints
    "$launcher" --print-log -- sh -ec 'logger -t wlan "the text"
        until grep -q "wlan.*the text" "$1"; do sleep 0.01; done' sh "$text" 2> "$text"
    rm "$text"
}

ShowsTheWarningOfAModuleInsideTheTree() {
    # A module warns that others could write to its folder. The tool would close the folder too, so it comes later.
    local shown
    shown=$(PATH=$TOOLS:$PATH "$launcher" -- sh -ec 'chmod 777 /tmp/m_tmp; zndb > /dev/null 2>&1 &
        until grep -q "zndb.*working folder" /var/log/messages; do sleep 0.05; done
        logtool show --module zndb --level warning')
    grep -q 'zndb.*others could write the working folder /tmp/m_tmp' <<< "$shown" || fail "$shown"
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

# shows_escaped STATUS PROGRAM: what is said about a program that can't be run
shows_escaped() {
    local text
    text=$(expect_status "$1" "$launcher" -- "$2" 2>&1)
    grep -qF "device-tree: run $(dirname "$2")/$(printf '%s' '\x1b')]0;$unsafe_escaped: " <<< "$text" ||
        fail "$(od -c <<< "$text")"
}

EscapesTheNameOfAProgramThatCannotRun() {
    local folder name
    folder=$(mktemp -d)
    name=$folder/$(printf '\033')"]0;$unsafe"
    shows_escaped 127 "$name"
    touch "$name"
    shows_escaped 126 "$name"
    rm -r "$folder"
}

Returns2ForAWrongUsage() {
    expect_status 2 "$launcher" 2>/dev/null
    expect_status 2 "$launcher" -- 2>/dev/null
    expect_status 2 "$launcher" --wrong true 2>/dev/null
    expect_status 2 "$launcher" --no-log 2>/dev/null
    expect_status 2 "$launcher" --help true 2>/dev/null
}

ManPageShowsEveryOptionAndIsWellFormed() {
    local page option count=0
    page=$(dirname "$0")/../../testkit/device_tree/device-tree.1
    [ -z "$(groff -man -Tascii -ww -z "$page" 2>&1)" ] || fail "groff complains"
    for option in $("$launcher" --help | grep -o '^  --[a-z-]*'); do
        sed 's,[\\],,g' "$page" | grep -qx -e "[.]B $option" || fail "the man page lacks $option"
        count=$((count + 1))
    done
    [ "$count" -eq 4 ] || fail "$count options"
}

PrintsHelpAndVersion() {
    "$launcher" --help | grep -q '^usage: device-tree .*COMMAND'
    "$launcher" --version | grep -qE '^device-tree [0-9]+[.][0-9]+[.][0-9]+$'
}

SaysThatItsHelpCannotBeWritten() {
    local option text
    for option in --help --version; do
        text=$(expect_status 2 "$launcher" "$option" 2>&1 > /dev/full)
        [ "$text" = "device-tree: write the output: No space left on device" ] || fail "$option: $text"
    done
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

# ends_on SIGNAL: the command, a module beside it and a daemon with a session of its own
ends_on() {
    local out pid pids=()
    out=$(mktemp)
    # The shell's children ignore SIGINT and SIGQUIT.
    "$launcher" -- python3 -c 'import os, signal, subprocess, sys, time
for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT):
    signal.signal(number, signal.SIG_DFL)
module = subprocess.Popen(["sleep", "600"])
daemon = subprocess.Popen(["sleep", "600"], start_new_session=True)
print(os.getpid(), module.pid, daemon.pid, flush=True)
time.sleep(600)' > "$out" &
    wait_until grep -q ' ' "$out"
    kill "-$1" $!
    expect_status "$2" wait $!
    read -ra pids < "$out"
    for pid in "${pids[@]}"; do
        gone "$pid" || fail "process $pid is still there"
    done
    rm "$out"
}

EndsTheCommandAndAllItStartedOnSighup() {
    ends_on HUP 129
}

EndsTheCommandAndAllItStartedOnSigterm() {
    ends_on TERM 143
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
