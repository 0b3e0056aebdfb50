#!/usr/bin/env bash
# Four agents in a line on veth pairs, s1 - b1 - b2 - s2, used as people use them: by mrpctl, signals
# and cables. Ends with 77 where there are no network namespaces.
#
#   line.sh BIN_DIR
set -euo pipefail
bin=$1
# shellcheck source=../../tools/agents.sh
source "$(dirname "$0")/../../tools/agents.sh"
nodes=(s1 b1 b2 s2)

# vlanIs NODE VLAN REGISTERED FIXED FORBIDDEN CONFIGURED DECLARED: ports with commas between, "-" for
# none; sees them in the end.
vlanIs() {
    local row="{\"vlan\":$2" list i=3
    for list in registered fixed forbidden configured declared; do
        row+=",\"$list\":[$(sed -e 's/^-$//' -e 's/[^,]\+/"&"/g' <<<"${!i}")]"
        i=$((i + 1))
    done
    eventually 5 rowIs "$1" "$2" "$row}" ||
        fail "VLAN $2 of $1: expected $row}, found $(ctl "$1" -j show vlans --vlan "$2")"
}

rowIs() {
    [ "$(ctl "$1" -j show vlans --vlan "$2")" = "{\"vlans\": [
$3
]}" ]
}

# vlanGone VLAN NODE…: they come to know nothing of it.
vlanGone() {
    local node
    for node in "${@:2}"; do
        eventually 5 unknown "$node" "$1" || fail "VLAN $1 stays with $node"
    done
}

unknown() {
    [ "$(ctl "$1" -j show vlans --vlan "$2")" = '{"vlans": []}' ]
}

# refused STATUS TEXT COMMAND…: it fails so, and says so.
refused() {
    local status=0 output
    output=$("${@:3}" 2>&1) || status=$?
    { [ "$status" -eq "$1" ] && grep -q "$2" <<<"$output"; } ||
        fail "${*:3}: expected status $1 and \"$2\", found $status and: $output"
}

# counter NODE PORT NAME: of MVRP.
counter() {
    ctl "$1" -j show counters --application mvrp --port "$2" | grep -o "\"$3\":[0-9]*" | cut -d: -f2
}

configOf() {
    echo "interfaces = [$1]"
    printf '[timers]\nleaveAllTime = 2\n'
}

makeNodes "${nodes[@]}"
cable s1 eth0 b1 left
cable b1 right b2 left
cable b2 right s2 eth0
for station in s1 s2; do
    startAgent "$station" < <(echo 'propagation = false' && configOf '"eth0"')
done
for bridge in b1 b2; do
    startAgent "$bridge" < <(configOf '"left", "right"')
done
awaitAgents

# What is declared at one end is registered on every port along the way, and so back.
ctl s1 declare vlan 10-12
ctl s2 wait vlan 12 --port eth0 --registered --timeout 5
ctl s2 declare vlan 12,20
ctl s1 wait vlan 20 --timeout 5
for vlan in 10 11; do
    vlanIs s1 "$vlan" - - - eth0 eth0
    for bridge in b1 b2; do
        vlanIs "$bridge" "$vlan" left - - - right
    done
    vlanIs s2 "$vlan" eth0 - - - -
done
for bridge in b1 b2; do
    vlanIs "$bridge" 12 left,right - - - left,right
    vlanIs "$bridge" 20 right - - - left
done
refused 2 refused ctl s1 declare vlan 10

# What one end withdraws stays where the other end declares it.
ctl s1 withdraw vlan 11-12
ctl s2 wait vlan 11 --absent --timeout 5
vlanGone 11 "${nodes[@]}"
for bridge in b1 b2; do
    vlanIs "$bridge" 12 right - - - left
done

# A cable is pulled out, and plugged in again.
unplug b1 right
ctl s2 wait vlan 10 --absent --timeout 5
vlanGone 10 b2
vlanIs b1 10 left - - - -
vlanGone 20 b1 s1
ctl b2 -j show ports --port left | grep -q '"port":"left","link":false' ||
    fail "b2 does not see that the cable is out"
plug b1 right
ctl s2 wait vlan 10 --timeout 5
vlanIs b1 10 left - - - right
vlanIs b2 10 left - - - right
vlanIs b1 20 right - - - left

# Another configuration, and then one with a fault, which changes nothing.
cp "$dir/b1.toml" "$dir/before.toml"
printf '[[vlans]]\nids = 30\n[[vlans]]\nids = 20\ninterfaces = ["right"]\nregistration = "%s"\n' \
    forbidden >>"$dir/b1.toml"
kill -HUP "${pid[b1]}"
ctl s2 wait vlan 30 --timeout 5
ctl s1 wait vlan 30 --timeout 5
vlanGone 20 s1
ctl b1 -j show vlans --vlan 20 | grep -qF '"forbidden":["right"],"configured":[],"declared":[]' ||
    fail "b1 does not forbid VLAN 20"
vlanIs b1 30 - - - left,right left,right
echo 'interfaces = 1' >>"$dir/b1.toml"
kill -HUP "${pid[b1]}"
eventually 5 grep -q "b1.toml:.*expected" "$dir/b1.err" || fail "b1 does not tell of the fault"
vlanIs b1 30 - - - left,right left,right
mv "$dir/before.toml" "$dir/b1.toml"
kill -HUP "${pid[b1]}"
ctl s1 wait vlan 30 --absent --timeout 5
ctl s1 wait vlan 20 --timeout 5

# What is counted, and counted anew.
before=$(counter b1 right pdusIn)
[ "$before" -gt 3 ] || fail "b1 has counted $before MRPDUs"
ctl b1 clear counters
[ "$(counter b1 right pdusIn)" -lt "$before" ] || fail "the counters are not cleared"

# One who watches is told.
ctl s2 -j watch --vlan 50 --limit 1 >"$dir/watched" &
watcher=$!
others+=("$watcher")
watching() { ctl s2 -j show agent | grep -q '"clients":2'; }
eventually 5 watching || fail "nobody watches"
ctl s1 declare vlan 50
wait "$watcher"
others=()
grep -q '"change":"changed","application":"mvrp","port":"eth0",.*"key":50,' "$dir/watched" ||
    fail "found $(cat "$dir/watched")"

# Nothing is wrong with these machines, and who may only read changes nothing.
ctl b1 doctor >"$dir/doctor" || fail "found $(cat "$dir/doctor")"
readOnly=("$bin/mrpctl" --socket "$dir/b1.ro.sock")
refused 2 readOnly "${readOnly[@]}" declare vlan 60
"${readOnly[@]}" -j show vlans --vlan 10,60 | grep -q '"vlan":10,' || fail "cannot be read"
vlanGone 60 b1

socket=$dir/b1.sock
stopAgents
refused 3 "$socket" "$bin/mrpctl" --socket "$socket" show vlans
echo "All is as it should be."
