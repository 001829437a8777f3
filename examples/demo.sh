#!/bin/bash
# demo.sh PROGRAM_FOLDER: shows modules at work, step by step, and checks each step. It is run in a private
# device tree, by script/demo and as a test. Ends with the first step that doesn't go as it should.
set -eu

programs=$1
logs=$(mktemp -d)
PATH=$programs:$PATH

surprise() {
    echo
    echo "SURPRISE: $*" >&2
    head -n 20 "$logs"/* >&2
    exit 1
}

# expect LINE ask ...: shows a request and what came of it
expect() {
    local expected=$1 actual
    shift
    echo "  $*"
    actual=$("$@" 2>> "$logs/ask") || surprise "'$*' ended with status $?"
    echo "      $actual"
    [ "$actual" = "$expected" ] || surprise "'$*' should have said '$expected'"
}

# within_3_seconds COMMAND...: waits until it succeeds
within_3_seconds() {
    local left=300
    until "$@"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || return 1
        sleep 0.01
    done
}

# hears MODULE LINE: waits for a line that a module writes
hears() {
    within_3_seconds grep -qxF "$2" "$logs/$1" || surprise "$1 never said '$2'"
    echo "      $1 says: $2"
}

# has_status MODULE NUMBER
has_status() {
    [ "$(ask status "$1" 2>> "$logs/ask")" = "status $2" ]
}

# start MODULE STATUS: starts its program and waits for the status word that says it is ready
start() {
    "$1" > "$logs/$1" 2>&1 &
    pid=$!
    within_3_seconds has_status "$1" "$2" || surprise "$1 doesn't start"
    echo "  $1 runs as process $pid"
}

# insert_sim MCC MNC: what the simulated modem says from now on
modem=/m_data/usr/modem/sim.conf
insert_sim() {
    printf '%s\n' sim_status=2 "mcc=$1" "mnc=$2" spn= > $modem
    echo "  a SIM of operator $1 $2 is inserted"
}

echo "The device starts: no module is subscribed to an event"
expect 'nobody is subscribed' ask init-events

echo "Three modules start, each a process of its own"
start zndb 1
zndb=$pid
start router 1
start wlan 2
wlan=$pid

echo "Requests that wait for their result and answer"
expect 'result E_APPS_ERR_SUCCESS, answer "eth0 is up at 1000 Mbit/s"' \
    ask sync router E_APPS_MSG_ROUTER_ETHER_INFO_GET
expect 'result E_APPS_ERR_SUCCESS, answer ""' ask sync wlan E_APPS_MSG_WLAN_AP_WORK_CHANNEL_SET 36
expect 'result E_APPS_ERR_PARAM, answer ""' ask sync wlan E_APPS_MSG_WLAN_AP_WORK_CHANNEL_SET 999
expect 'result E_APPS_ERR_SUCCESS, answer "channel 36"' ask sync wlan E_APPS_MSG_WLAN_AP_WORK_CHANNEL_GET
expect 'not answered: E_APPS_ERR_MODULE' ask sync lcd E_APPS_MSG_SYS_PROBE

echo "A message that doesn't wait, and which wlan passes on to router"
expect 'delivered' ask async wlan E_APPS_MSG_WLAN_CLIENT_NUM_CHANGE 3
hears wlan '3 clients'
hears router 'wlan has 3 clients'

echo "A queue: wlan takes two scans for a thread of its own, and answers on"
expect 'result E_APPS_ERR_SUCCESS, answer ""' ask sync wlan E_APPS_MSG_WLAN_SCAN_TRIGGER 1
expect 'result E_APPS_ERR_SUCCESS, answer ""' ask sync wlan E_APPS_MSG_WLAN_SCAN_TRIGGER 6
expect 'result E_APPS_ERR_SUCCESS, answer "channel 36"' ask sync wlan E_APPS_MSG_WLAN_AP_WORK_CHANNEL_GET
hears wlan 'channel 1 is scanned'
hears wlan 'channel 6 is scanned'

echo "A signal, which wlan takes on its main thread"
echo "  kill -USR1 $wlan"
kill -USR1 "$wlan"
hears wlan 'on channel 36'

echo "A broadcast"
expect 'sent to all' ask broadcast E_APPS_MSG_SYS_LANGUAGE_CHANGE English
hears router 'the language is now English'
hears wlan 'the language is now English'

echo "An event: wlan subscribed to it, router didn't, and its publisher knows neither"
expect 'wlan' cat /m_data/usr/subscribe/E_APPS_MSG_ROUTER_ETH_STATE_CHANGED
expect 'published' ask publish E_APPS_MSG_ROUTER_ETH_STATE_CHANGED unplugged
hears wlan 'the cable is unplugged'

echo "Status words: 0 not running, 1 serving, others by the module itself"
expect 'status 1' ask status router
expect 'status 2' ask status wlan
expect 'status 0' ask status lcd

echo "A key of the configuration database, which is then killed"
expect 'not read: E_APPS_ERR_NOTFOUND' ask get lan_ip
expect 'E_APPS_ERR_SUCCESS' ask set lan_ip 192.168.0.1
expect '192.168.0.1' ask get lan_ip
expect 'E_APPS_ERR_SUCCESS' ask save
expect 'lan_ip=192.168.0.1' grep -v '^#' /m_data/usr/db/user_data.txt
echo "  kill -KILL $zndb"
{ kill -KILL "$zndb" && wait "$zndb"; } 2> /dev/null || true
expect 'not read: E_APPS_ERR_BUSY' ask get lan_ip
rm /tmp/m_tmp/zndb/journal.* # as a power cut would: only what was saved is left
start zndb 1
expect '192.168.0.1' ask get lan_ip

echo "Settings as variables: lcd asks router, and shows the answer as bright as it is set"
expect '[ 80%] eth0 is up at 1000 Mbit/s' lcd
expect 'E_APPS_ERR_SUCCESS' ask set lcd_brightness 40
expect '[ 40%] eth0 is up at 1000 Mbit/s' lcd
expect 'E_APPS_ERR_SUCCESS' ask set lcd_brightness 999
expect '[ 80%] eth0 is up at 1000 Mbit/s' lcd

echo "Another SIM: the settings of its operator take the old ones' place"
operators=/m_webui/usr/db/subnet
mkdir -p $operators/00101 $operators/00102 "$(dirname "$modem")"
echo 'wan_apn=internet.one' > $operators/00101/custom_data.txt
echo 'wan_apn=internet.two' > $operators/00102/custom_data.txt
expect 'E_APPS_ERR_SUCCESS' ask set mnet_sim_subnet_switch on
insert_sim 001 01
expect 'status 2' ask adapt
expect 'internet.one' ask get-perm wan_apn
insert_sim 001 02
expect 'status 2' ask adapt
expect 'internet.two' ask get-perm wan_apn

echo "A second wlan is refused"
status=0
text=$(wlan 2>&1) || status=$?
echo "  wlan"
echo "      $text (status $status)"
[ "$text, $status" = "the 'wlan' is already running!, 255" ] || surprise "the second wlan was not refused"
expect 'result E_APPS_ERR_SUCCESS, answer "channel 36"' ask sync wlan E_APPS_MSG_WLAN_AP_WORK_CHANNEL_GET

echo "All went as expected."
