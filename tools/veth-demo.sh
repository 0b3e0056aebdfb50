#!/usr/bin/env bash
# The demonstration through real sockets: two mrp-agent processes in two network namespaces, joined
# by a veth pair. Node one declares; then it is started again with fewer declarations, and what it
# no longer declares ages out at node two.
#
#   veth-demo.sh BIN_DIR [PCAP_FILE]
#
# Ends with the status of mrp-demo's judgement, or with 77 where it cannot run.
set -euo pipefail
bin=$1
pcap=${2-}
polls=150         # looks at the tables a stage, at most
pollInterval=0.1  # seconds

cannotRun() {
    echo "Skipped: $*" >&2
    exit 77
}

[ "$(id -u)" -eq 0 ] || cannotRun "network namespaces need root"
command -v ip >/dev/null || cannotRun "the command ip (iproute2) is not installed"

nsOne=mrp-demo-$$-one
nsTwo=mrp-demo-$$-two
dir=$(mktemp -d)
pids=()

cleanUp() {
    trap '' INT TERM
    local pid ns
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    for ns in "$nsOne" "$nsTwo"; do
        ip netns del "$ns" 2>/dev/null || true
    done
    rm -rf "$dir"
}
trap cleanUp EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
    echo "veth-demo: $*" >&2
    cat "$dir"/*.err >&2 2>/dev/null || true
    exit 1
}

makeNetwork() {
    ip netns add "$nsOne" && ip netns add "$nsTwo" &&
        ip -n "$nsOne" link add one type veth peer name two netns "$nsTwo" &&
        ip -n "$nsOne" link set one up && ip -n "$nsTwo" link set two up
}

# awaitMessage PID FILE TEXT: until the agent has written such a line.
awaitMessage() {
    local i
    for ((i = 0; i < polls; i++)); do
        grep -q "^mrp-agent: $3" "$2" && return 0
        kill -0 "$1" 2>/dev/null || break
        sleep "$pollInterval"
    done
    fail "mrp-agent did not say \"$3\" in $(basename "$2" .err)"
}

# startAgent NAMESPACE CONFIG [NAME --standby]: sets $started to its process, whose output is in the
# files of that name, or of the configuration's.
startAgent() {
    local config=$2 name=${3-$2} message=running
    [ $# -lt 4 ] || message="standby, in step"
    {
        "$bin/mrp-demo" --config "$config"
        printf '[attributeLog]\npath = "%s"\n' "$dir/$1.sock"
        printf '[standby]\ntakeover = "on-disconnect"\n'
    } >"$dir/$name.toml"
    : >"$dir/$name.err"
    ip netns exec "$1" "$bin/mrp-agent" --config "$dir/$name.toml" "${@:4}" \
        >"$dir/$name.out" 2>"$dir/$name.err" &
    started=$!
    pids+=("$started")
    awaitMessage "$started" "$dir/$name.err" "$message"
}

# An agent that is told to stop ends with status 0.
stopAgent() {
    local status=0
    kill -TERM "$1"
    wait "$1" || status=$?
    [ "$status" -eq 0 ] || fail "mrp-agent ended with status $status"
}

# awaitTables PID CONFIG PID CONFIG JUDGE…: has both agents print their tables until mrp-demo finds
# them complete with the arguments, or the time is over.
awaitTables() {
    local pidA=$1 outA=$dir/$2.out pidB=$3 outB=$dir/$4.out i
    shift 4
    for ((i = 0; i < polls; i++)); do
        kill -USR1 "$pidA" "$pidB"
        sleep "$pollInterval"
        if "$bin/mrp-demo" --quiet --tables "$@" "$outA" "$outB" 2>/dev/null; then
            break
        fi
    done
    tail -n 1 "$outA" >"$dir/tableA"
    tail -n 1 "$outB" >"$dir/tableB"
}

makeNetwork 2>"$dir/network.err" ||
    cannotRun "namespaces and a veth pair cannot be made: $(tail -n 1 "$dir/network.err")"

if [ -n "$pcap" ]; then
    ip netns exec "$nsTwo" "$bin/mrp-demo" --capture two --pcap "$pcap" 2>"$dir/capture.err" &
    pids+=("$!")
    capture=$!
fi
startAgent "$nsOne" one
one=$started
startAgent "$nsTwo" two
two=$started

awaitTables "$one" one "$two" two
mv "$dir/tableA" "$dir/declaredOne"
mv "$dir/tableB" "$dir/declaredTwo"

stopAgent "$one"
startAgent "$nsOne" one-later
one=$started
awaitTables "$one" one-later "$two" two "$dir/declaredOne" "$dir/declaredTwo"

mv "$dir/tableA" "$dir/withdrawnOne"
mv "$dir/tableB" "$dir/withdrawnTwo"

startAgent "$nsTwo" two standby --standby
standby=$started
kill -KILL "$two"
wait "$two" 2>/dev/null || true
awaitMessage "$standby" "$dir/standby.err" running
sleep 1.5  # longer than what is not declared anew stays registered
awaitTables "$one" one-later "$standby" standby "$dir/declaredOne" "$dir/declaredTwo" \
    "$dir/withdrawnOne" "$dir/withdrawnTwo"

stopAgent "$one"
stopAgent "$standby"
if [ -n "$pcap" ]; then
    stopAgent "$capture"
    echo "The frames are in $pcap."
fi
"$bin/mrp-demo" --tables "$dir/declaredOne" "$dir/declaredTwo" \
    "$dir/withdrawnOne" "$dir/withdrawnTwo" "$dir/tableA" "$dir/tableB"
