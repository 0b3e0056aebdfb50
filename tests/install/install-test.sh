#!/usr/bin/env bash
# Installs what has been built into a prefix of its own and uses it from there, as a developer and
# as a system would.
#
#   install-test.sh BUILD_TREE CXX CXXFLAGS
set -euo pipefail
build=$(realpath "$1") cxx=$2 flags=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$build/tests/install/work
prefix=$work/moved
rm -rf "$work"
mkdir -p "$work"
trap 'echo "failed: line $LINENO: $BASH_COMMAND" >&2' ERR

same() {  # same WHAT EXPECTED FOUND
    [ "$2" = "$3" ] || {
        printf '%s: expected\n%s\nfound\n%s\n' "$@" >&2
        exit 1
    }
}
have() { command -v "$1" >/dev/null || { echo "without $1"; return 1; }; }

cmake --install "$build" --prefix "$work/prefix" >"$work/install.log"
if have systemd-analyze; then
    unit=$work/prefix/lib/systemd/system/mrp-agent.service
    same unit "" "$(systemd-analyze verify --man=no "$unit" 2>&1)"
    systemd-analyze security --offline=true --threshold=20 "$unit" >"$work/security"
fi
# Programs and packages go on working where the whole prefix is moved to.
mv "$work/prefix" "$prefix"

echo "programs"
lib=$(dirname "$(find "$prefix" -name libmrp.so)")
same "SONAME links" "$(realpath "$lib/libmrp.so")" "$(realpath "$lib/libmrp.so.0")"
example=$prefix/share/doc/mrp/examples/etc-mrp-agent.toml
same --check "$example: ok" "$("$prefix/sbin/mrp-agent" --check --config "$example")"
"$prefix/bin/mrp-lab" --help >"$work/help"

echo "find_package"
cmake -S "$here/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" >"$work/consumer.log"
cmake --build "$work/consumer" >>"$work/consumer.log" || { cat "$work/consumer.log"; exit 1; }
same engine "VLAN 100 registered" "$("$work/consumer/engine" 2>/dev/null)"

echo "manual pages"
for page in "$prefix"/share/man/man*/*; do
    if have man; then
        same "$page" "" "$(man --warnings=w -l -Tutf8 "$page" 2>&1 >/dev/null)"
    fi
    if have mandoc; then
        same "$page" "" "$(mandoc -Tlint -Wwarning "$page" 2>&1 | grep -v 'mandoc.db' || true)"
    fi
done

echo "completion"
completed() {  # completed WORD...: what the last one may become
    local COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    "_${1//-/_}" "$1" "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
    echo "${COMPREPLY[*]}"
}
for file in "$prefix"/share/bash-completion/completions/*; do
    # shellcheck disable=SC1090
    . "$file"
    complete -p "$(basename "$file")" >/dev/null
done
cd "$(dirname "$example")"
same completion etc-mrp-agent.toml "$(completed mrp-agent --config etc)"
same completion "--standby" "$(completed mrp-agent --config x --st)"
same completion "from-capture" "$(completed mrp-lab from)"
same completion "--interface" "$(completed mrp-lab from-capture --int)"
same completion "replay/end.jsonl" "$(completed mrp-lab replay replay/en)"
# An option that the program does not have, or has and is not completed.
for words in mrp-agent "mrp-lab replay" "mrp-lab decode" "mrp-lab from-capture" mrpctl \
    "mrpctl "{"show "{ports,vlans,attributes,streams,domain,counters,timers,log},watch} \
    "mrpctl "{"declare "{vlan,talker,listener,domain},"withdraw "{vlan,stream,domain}} \
    "mrpctl "{"wait "{vlan,stream},"clear counters"}; do
    read -ra command <<<"$words"
    program=$(find "$prefix" -name "${command[0]}" -perm -u+x -path '*bin/*')
    help=$("$program" "${command[@]:1}" --help)
    [ "${command[0]}" != mrpctl ] || help+=$("$program" --help)  # the general ones
    same "options of $words" "$(grep -oE -- '--[a-z][a-z-]*' <<<"$help" | sort -u)" \
        "$(completed "${command[@]}" -- | tr ' ' '\n' | sort -u)"
done

echo "pkg-config"
if have pkg-config; then
    export PKG_CONFIG_PATH=$lib/pkgconfig
    # Every header, so that none is missing that another one includes.
    (cd "$prefix/include/mrp-0" && find . -name '*.h' -printf '#include "%P"\n') >"$work/all.h"
    # shellcheck disable=SC2046,SC2086
    "$cxx" -std=c++20 $flags -include "$work/all.h" "$here/consumer/engine.cpp" \
        -o "$work/engine" $(pkg-config --cflags --libs mrp-virtual) -Wl,-rpath,"$lib"
    same engine "VLAN 100 registered" "$("$work/engine" 2>/dev/null)"
fi
