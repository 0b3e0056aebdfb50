#!/usr/bin/env bash
# The demonstration on Linux: three bridges in a ring with the kernel's spanning tree, which blocks
# one port, and two stations. Each is a network namespace with an mrp-agent. The stations declare
# VLANs, which are registered along the tree; a link of the ring is cut, and they are registered
# along the other way; it is healed.
#
#            b1
#     toB2 /    \ toB3
#         /      \
#    toB1/        \toB1
#  s1 - b2 ------ b3 - s2        the end toB2 of the link between b2 and b3 blocks
#      toB3      toB2
#
#   veth-demo.sh BIN_DIR [PCAP_FILE]
#
# Ends with the status of mrp-demo's judgement, or with 77 where it cannot run.
# MRP_DEMO_FORWARD_DELAY is that of the spanning tree, in hundredths of a second, 400 without it: as
# short as goes with its maximum age of 6 s (clause 13.25).
set -euo pipefail
bin=$1
pcap=${2-}
forwardDelay=${MRP_DEMO_FORWARD_DELAY-400}
# shellcheck source=agents.sh
source "$(dirname "$0")/agents.sh"

bridges=(b1 b2 b3)
nodes=(s1 "${bridges[@]}" s2)
# A port listens and learns before it forwards; then the VLANs spread, in the time of a few frames.
# The rest is patience with slow machines.
patience=$((2 * forwardDelay / 100 + 10))  # seconds

# makeBridge NODE PRIORITY: the lowest priority is the root of the spanning tree.
makeBridge() {
    ip -n "mrp-$$-$1" link add name br0 type bridge stp_state 1 forward_delay "$forwardDelay" \
        hello_time 100 max_age 600 priority "$2" 2>"$dir/network" ||
        cannotRun "this kernel has no bridges: $(tail -n 1 "$dir/network")"
    # To a bridge of Linux the group address of MVRP is one as any other: it would forward the
    # frames, which are the neighbour's alone (clause 8.6.3).
    on "$1" nft -f - 2>"$dir/network" <<'RULES' || cannotRun "nft: $(tail -n 1 "$dir/network")"
table bridge mrp {
    chain forward {
        type filter hook forward priority 0
        ether daddr 01:80:c2:00:00:21 drop
    }
}
RULES
    ip -n "mrp-$$-$1" link set br0 up
}

# bridgeCable BRIDGE PORT BRIDGE PORT
bridgeCable() {
    cable "$@"
    ip -n "mrp-$$-$1" link set "$2" master br0
    ip -n "mrp-$$-$3" link set "$4" master br0
}

bridgeAgent() {
    startAgent "$1" <<EOC
[bridge]
name = "br0"
[timers]
leaveAllTime = 2
EOC
}

# stationAgent NODE VLANS
stationAgent() {
    startAgent "$1" <<EOC
interfaces = ["eth0"]
propagation = false
[timers]
leaveAllTime = 2
[[vlans]]
ids = [$2]
EOC
}

# look STAGE: what the agents tell of their VLANs, into its directory. Succeeds when it is what the
# stage asks for.
look() {
    local node
    for node in "${nodes[@]}"; do
        ctl "$node" --json show vlans >"$dir/$1/$node.json" || fail "$node does not answer"
    done
    "$bin/mrp-demo" --judge "$dir/$1" --stage "$1" >"$dir/differences"
}

# stage NAME TITLE: until all is as it should be, or the time is over; and whether it stays so.
stage() {
    local begin=$EPOCHREALTIME duration node
    mkdir "$dir/$1"
    if eventually "$patience" look "$1"; then
        duration=$(awk "BEGIN { printf \"%.1f\", ${EPOCHREALTIME/,/.} - ${begin/,/.} }")
        echo "=== $2. It is so everywhere after $duration s."
    else
        echo "=== $2. It is not so everywhere after $patience s."
    fi
    sleep 1
    look "$1" || true
    for node in "${nodes[@]}"; do
        echo
        echo "$node> mrpctl show vlans"
        ctl "$node" show vlans
    done
    echo
}

makeNodes "${nodes[@]}"
command -v nft >/dev/null || cannotRun "the command nft (nftables) is not installed"
makeBridge b1 4096
makeBridge b2 8192
makeBridge b3 12288
bridgeCable b1 toB2 b2 toB1
bridgeCable b1 toB3 b3 toB1
bridgeCable b2 toB3 b3 toB2
cable s1 eth0 b2 toS1
cable s2 eth0 b3 toS2
ip -n "mrp-$$-b2" link set toS1 master br0
ip -n "mrp-$$-b3" link set toS2 master br0

if [ -n "$pcap" ] && [ ! -w "$(dirname "$pcap")" ]; then
    echo "$pcap cannot be written here: the frames are not kept."
    pcap=
fi
if [ -n "$pcap" ]; then
    ip netns exec "mrp-$$-b2" "$bin/mrp-demo" --capture toB3 --pcap "$pcap" \
        2>"$dir/capture.err" &
    capture=$!
    others+=("$capture")
fi
for node in "${bridges[@]}"; do
    bridgeAgent "$node"
done
stationAgent s1 '"10-14"'
stationAgent s2 '14, "20-22"'
awaitAgents

stage ring "The spanning tree goes by b1"
echo "b3> mrpctl show ports"
ctl b3 show ports
echo
unplug b1 toB3
stage cut "The link between b1 and b3 is cut: the tree goes from b2 to b3"
plug b1 toB3
stage healed "The link is healed"

stopAgents
if [ -n "$pcap" ]; then
    kill -TERM "$capture"
    wait "$capture" || fail "the capture failed"
    others=()
    echo "The frames between b2 and b3 are in $pcap."
fi
"$bin/mrp-demo" --judge "$dir"
