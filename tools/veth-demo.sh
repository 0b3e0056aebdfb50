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

# startAgent NAMESPACE CONFIG: sets $started to its process.
startAgent() {
    local name=$2 i
    "$bin/mrp-demo" --config "$name" >"$dir/$name.toml"
    : >"$dir/$name.err"
    ip netns exec "$1" "$bin/mrp-agent" --config "$dir/$name.toml" \
        >"$dir/$name.out" 2>"$dir/$name.err" &
    started=$!
    pids+=("$started")
    for ((i = 0; i < polls; i++)); do
        grep -q '^mrp-agent: running' "$dir/$name.err" && return 0
        kill -0 "$started" 2>/dev/null || break
        sleep "$pollInterval"
    done
    fail "mrp-agent did not start with the configuration \"$name\""
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

stopAgent "$one"
stopAgent "$two"
if [ -n "$pcap" ]; then
    stopAgent "$capture"
    echo "The frames are in $pcap."
fi
"$bin/mrp-demo" --tables "$dir/declaredOne" "$dir/declaredTwo" "$dir/tableA" "$dir/tableB"
