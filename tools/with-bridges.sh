#!/usr/bin/env bash
# Runs a command that needs Linux bridges and network namespaces, and ends with 77 where it has none:
# here, or then in a virtual machine that has them (tools/bridge-vm.sh). Ends with the command's
# status, with 77 when it could run in neither.
#
#   with-bridges.sh COMMAND [ARGUMENT…]
set -euo pipefail

status=0
"$@" || status=$?
if [ "$status" -eq 77 ]; then
    echo "Trying a virtual machine, whose kernel has all that is needed."
    status=0
    "$(dirname "$0")/bridge-vm.sh" "$@" || status=$?
fi
exit "$status"
