# shellcheck shell=bash disable=SC2154
# For scripts that source this: nodes with an mrp-agent each, every one in a network namespace of its
# own, joined by veth pairs. The programs are in $bin. Everything goes when the script ends.

dir=
agents=()      # nodes whose agent runs
declare -A pid # by node
namespaces=()
others=()      # processes besides

cannotRun() {
    echo "Skipped: $*" >&2
    exit 77
}

fail() {
    echo "$(basename "$0"): $*" >&2
    if [ -n "$dir" ]; then
        tail -n 20 "$dir"/*.err >&2 2>/dev/null || true
    fi
    exit 1
}

cleanUp() {
    trap '' INT TERM
    local node process namespace
    for process in "${others[@]}" "${pid[@]}"; do
        kill -KILL "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    for namespace in "${namespaces[@]}"; do
        ip netns del "$namespace" 2>/dev/null || true
    done
    rm -rf "$dir"
}

# makeNodes NODE…: their namespaces. Ends with 77 where there can be none.
makeNodes() {
    [ "$(id -u)" -eq 0 ] || cannotRun "network namespaces need root"
    command -v ip >/dev/null || cannotRun "the command ip (iproute2) is not installed"
    dir=$(mktemp -d)
    trap cleanUp EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    local node
    for node in "$@"; do
        ip netns add "mrp-$$-$node" 2>"$dir/network" ||
            cannotRun "namespaces cannot be made: $(tail -n 1 "$dir/network")"
        namespaces+=("mrp-$$-$node")
    done
}

# on NODE COMMAND…: runs it there.
on() {
    ip netns exec "mrp-$$-$1" "${@:2}"
}

# cable NODE PORT NODE PORT
cable() {
    ip -n "mrp-$$-$1" link add "$2" type veth peer name "$4" netns "mrp-$$-$3" 2>"$dir/network" ||
        cannotRun "veth pairs cannot be made: $(tail -n 1 "$dir/network")"
    plug "$1" "$2"
    plug "$3" "$4"
}

# One end of a cable.
plug() { ip -n "mrp-$$-$1" link set "$2" up; }
unplug() { ip -n "mrp-$$-$1" link set "$2" down; }

# startAgent NODE <CONFIG: with control sockets besides. Not in a pipe, which would be a process of its
# own. See awaitAgents.
startAgent() {
    {
        cat
        printf '[control]\npath = "%s"\nreadOnlyPath = "%s"\n' "$dir/$1.sock" "$dir/$1.ro.sock"
    } >"$dir/$1.toml"
    # The agent itself, not a shell that waits for it.
    ip netns exec "mrp-$$-$1" "$bin/mrp-agent" --config "$dir/$1.toml" >"$dir/$1.out" \
        2>"$dir/$1.err" &
    pid[$1]=$!
    agents+=("$1")
}

# Until all agents that were started run.
awaitAgents() {
    local node
    for node in "${agents[@]}"; do
        eventually 15 grep -q '^mrp-agent: running' "$dir/$node.err" ||
            fail "the agent of $node does not run"
    done
}

# ctl NODE ARGUMENT…: asks the node's agent.
ctl() {
    "$bin/mrpctl" --socket "$dir/$1.sock" "${@:2}"
}

# eventually SECONDS COMMAND…: repeats it until it succeeds or the time is over.
eventually() {
    local end=$((SECONDS + $1))
    until "${@:2}"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.1
    done
}

# Agents that are told to stop end with status 0, which they have to say in time.
stopAgents() {
    local node status
    kill -TERM "${pid[@]}"
    for node in "${agents[@]}"; do
        status=0
        wait "${pid[$node]}" || status=$?
        [ "$status" -eq 0 ] || fail "the agent of $node ended with status $status"
    done
    pid=()
    agents=()
}
