#!/usr/bin/env bash
# Proves that two builds behave alike: both replay the same scenarios, and must print the same, byte
# for byte, and end with the same status.
#
#   tools/replay-proof.sh MRP_LAB OTHER_MRP_LAB [COUNT [SEED]]
#
# The arguments are the programs of the two builds; each finds the libraries of its own build. The
# scenarios are those of docs/examples/replay and tests/scenarios, and COUNT (300) random ones of a
# SEED (1). What both print for a scenario on which they differ stays in a folder that is named.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

if [ $# -lt 2 ] || [ $# -gt 4 ]; then
    echo "usage: $0 MRP_LAB OTHER_MRP_LAB [COUNT [SEED]]" >&2
    exit 2
fi
one=$1
other=$2
for program in "$one" "$other"; do
    [ -x "$program" ] || { echo "$0: $program: no program" >&2; exit 2; }
done
# A program that was copied away from its build still runs that build's engine.
engineOf() { ldd "$1" | awk '$1 ~ /^libmrp\.so/ { print $3 }'; }
if [ -n "$(engineOf "$one")" ] && [ "$(engineOf "$one")" -ef "$(engineOf "$other")" ]; then
    echo "$0: both run $(engineOf "$one")" >&2
    exit 2
fi

work=$(mktemp -d)
mkdir "$work/random"
python3 "$root/tools/random-scenarios.py" "$work/random" "${3:-300}" "${4:-1}" || exit 2

same=0 differ=0 refused=0 aborted=0 lines=0
for scenario in "$root"/docs/examples/replay/*.jsonl "$root"/tests/scenarios/*.jsonl \
    "$work"/random/*.jsonl; do
    "$one" replay "$scenario" >"$work/one" 2>/dev/null
    oneStatus=$?
    "$other" replay "$scenario" >"$work/other" 2>/dev/null
    otherStatus=$?
    case $oneStatus in
    0) ;;
    3) aborted=$((aborted + 1)) ;;
    *)  # a scenario that is not understood proves nothing
        echo "refused with status $oneStatus: $scenario"
        refused=$((refused + 1))
        ;;
    esac
    if [ $oneStatus -eq $otherStatus ] && cmp -s "$work/one" "$work/other"; then
        same=$((same + 1))
        lines=$((lines + $(wc -l <"$work/one")))
    else
        differ=$((differ + 1))
        kept="$work/different/$(basename "$scenario" .jsonl)"
        mkdir -p "$kept"
        cp "$scenario" "$work/one" "$work/other" "$kept"
        echo "different (status $oneStatus and $otherStatus): $kept"
    fi
done

echo "$same the same ($lines lines; $aborted end in an assertion), $differ different, $refused refused"
if [ $differ -eq 0 ] && [ $refused -eq 0 ] && [ $same -gt 0 ]; then
    rm -rf "$work"
    exit 0
fi
exit 1
