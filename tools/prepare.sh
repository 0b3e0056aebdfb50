# shellcheck shell=bash disable=SC2034,SC2120
# Sourced by ./demo and ./test: installs what is missing, and builds. The caller stands in the root
# of the tree.

buildPackages=(g++ cmake ninja-build libcli11-dev libtomlplusplus-dev nlohmann-json3-dev libpcap-dev
    libgtest-dev libgmock-dev libbenchmark-dev libmnl-dev pkg-config)

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# Prints those of the packages that are not installed.
missingPackages() {
    local package
    for package in "$@"; do
        if ! dpkg -s "$package" 2>/dev/null | grep -q '^Status: install ok installed'; then
            echo "$package"
        fi
    done
}

# Installs the packages that are missing; asks nothing of apt when none is.
installPackages() {
    local missing become=()
    if ! command -v dpkg >/dev/null; then
        echo "This is no Debian: what is needed is taken to be here ($*)."
        return 0
    fi
    mapfile -t missing < <(missingPackages "$@")
    if [ ${#missing[@]} -eq 0 ]; then
        return 0
    fi
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Missing packages, to be installed as root: ${missing[*]}" >&2
            return 1
        }
        become=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${become[@]}" apt-get update -qq &&
        "${become[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Builds the targets (all without one) of the release preset. Says what it did only when it failed.
build() {
    local log targets=()
    log=$(mktemp)
    if [ $# -gt 0 ]; then
        targets=(--target "$@")
    fi
    echo "Building"
    if ! { cmake --preset release && cmake --build --preset release "${targets[@]}"; } >"$log" 2>&1
    then
        cat "$log" >&2
        rm -f "$log"
        fail "the build failed"
    fi
    rm -f "$log"
}
