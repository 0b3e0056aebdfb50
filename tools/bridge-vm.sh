#!/usr/bin/env bash
# Runs a command as root in a small virtual machine whose kernel, Debian's, has bridges, their VLAN
# filter, virtual Ethernet cables, network namespaces and nftables: for tests on machines whose own
# kernel lacks them. The machine sees this one's files, read-only, with /tmp and /run of its own. It
# has no network but what the command makes.
#
#   bridge-vm.sh [--timeout SECONDS] [--memory MEGABYTES] COMMAND [ARGUMENT…]
#
# The command runs in the current directory with the environment's PATH; what it writes, to either
# output, comes on standard output as it is written. Ends with the command's status, with 77 where
# the machine cannot be had, with 124 when it took too long, with 125 when the machine failed.
#
# The kernel is downloaded once, as a package that is not installed, and kept with the rest of the
# machine in $MRP_VM_CACHE (build/bridge-vm). Without hardware support the machine is emulated.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cache=${MRP_VM_CACHE:-$root/build/bridge-vm}
metaPackage=linux-image-amd64
modules=(virtio_pci 9pnet_virtio 9p bridge veth crc32c_generic nf_tables nft_meta_bridge)
machineVersion=1  # of what is in the cache
timeLimit=300
memory=512

cannotRun() {
    echo "Skipped: $*" >&2
    exit 77
}

fail() {
    echo "bridge-vm: $*" >&2
    exit 125
}

# downloadKernel DIR: unpacks Debian's newest kernel there.
downloadKernel() {
    local package
    package=$(apt-cache depends "$metaPackage" 2>/dev/null |
        awk '/Depends: linux-image-/ { print $2; exit }')
    [ -n "$package" ] || cannotRun "apt knows no $metaPackage"
    (cd "$1" && apt-get download -qq "$package" 2>"$1/log") ||
        cannotRun "$package cannot be downloaded: $(tail -n 1 "$1/log")"
    dpkg -x "$1"/linux-image-*.deb "$1/package"
}

# The first program of the machine.
writeInit() {
    cat <<'EOF'
#!/bin/busybox sh
# Everything that fails is in the console's log, and the status is missing.
PATH=/bin
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t devtmpfs dev /dev
for module in $(cat /modules); do
    modprobe "$module" || echo "module $module is missing"
done
mount -t 9p -o trans=virtio,version=9p2000.L,ro,cache=loose,msize=524288 root /host
mkdir /realtmp
mount --bind /host/tmp /realtmp
for place in tmp run dev/shm; do
    [ "$place" = dev/shm ] && mount -t devtmpfs dev /host/dev && mkdir -p /host/dev/shm
    mount -t tmpfs tmpfs "/host/$place"
done
mkdir -p /host/dev/pts /host/run/bridge-vm
mount -t devpts devpts /host/dev/pts
mount -t proc proc /host/proc
mount -t sysfs sysfs /host/sys
mount -t 9p -o trans=virtio,version=9p2000.L,msize=65536 job /host/run/bridge-vm
chmod 1777 /host/tmp
tree=$(cat /host/run/bridge-vm/tree)
case $tree in  # it is not hidden by the machine's own /tmp
/tmp/*) mkdir -p "/host$tree" && mount --bind "/realtmp/${tree#/tmp/}" "/host$tree" ;;
esac
hostname bridge-vm
ip link set lo up
stty -F /dev/ttyS1 raw -echo
chroot /host /bin/bash /run/bridge-vm/command </dev/null >/dev/ttyS1 2>&1
echo $? >/host/run/bridge-vm/status
sync
poweroff -f
EOF
}

# makeInitramfs KERNEL-PACKAGE DIR: the file system that the machine begins with, in DIR/initramfs.
makeInitramfs() {
    local tree=$2/tree version file module
    version=$(basename "$1"/lib/modules/*)
    mkdir -p "$tree"/{bin,proc,dev,host,"lib/modules/$version"}
    cp "$(command -v busybox)" "$tree/bin/busybox"
    busybox depmod -b "$1" "$version"
    # The modules, and what they need.
    for module in "${modules[@]}"; do
        file=$(grep -o "^[^:]*/${module//_/[-_]}\.ko[^:]*:.*" "$1/lib/modules/$version/modules.dep") ||
            continue
        echo "${file/:/}" | tr ' ' '\n'
    done | sort -u | grep . | (cd "$1/lib/modules/$version" && cpio -pdm --quiet "$tree/lib/modules/$version")
    cp "$1/lib/modules/$version"/modules.{builtin,order} "$tree/lib/modules/$version/"
    busybox depmod -b "$tree" "$version"
    printf '%s\n' "${modules[@]}" >"$tree/modules"
    writeInit >"$tree/init"
    chmod +x "$tree/init"
    (cd "$tree" && find . | cpio -o -H newc --quiet | gzip -1) >"$2/initramfs"
}

# Makes what is not in the cache yet; of several at the same time one does it.
prepareMachine() {
    local work stamp
    stamp="$machineVersion ${modules[*]} $(writeInit | cksum)"
    mkdir -p "$cache"
    exec 9>"$cache/lock"
    flock 9
    if [ "$(cat "$cache/stamp" 2>/dev/null)" != "$stamp" ]; then
        work=$(mktemp -d "$cache/work.XXXXXX")
        # shellcheck disable=SC2064 # the directory of now
        trap "rm -rf '$work'" EXIT
        downloadKernel "$work"
        makeInitramfs "$work/package" "$work"
        mv "$work"/package/boot/vmlinuz-* "$cache/kernel"
        mv "$work/initramfs" "$cache/initramfs"
        echo "$stamp" >"$cache/stamp"
        rm -rf "$work"
        trap - EXIT
    fi
    flock -u 9
}

# runMachine JOB-DIR: its output is that of the command.
runMachine() {
    local acceleration=(-accel tcg)
    # A device alone is not enough: without the processor's help the machine stands still.
    if [ -w /dev/kvm ] && grep -qwE 'vmx|svm' /proc/cpuinfo; then
        acceleration=(-accel kvm -accel tcg)
    fi
    timeout -k 5 "$timeLimit" qemu-system-x86_64 "${acceleration[@]}" -cpu max -smp 1 \
        -m "$memory" -nodefaults -no-user-config -display none -no-reboot \
        -kernel "$cache/kernel" -initrd "$cache/initramfs" \
        -append "console=ttyS0 loglevel=4 panic=-1 mitigations=off tsc=unstable" \
        -chardev "file,id=console,path=$1/console" -serial chardev:console \
        -chardev stdio,id=out,signal=off -serial chardev:out \
        -fsdev local,id=root,path=/,security_model=none,readonly=on,multidevs=remap \
        -device virtio-9p-pci,fsdev=root,mount_tag=root \
        -fsdev "local,id=job,path=$1,security_model=none" \
        -device virtio-9p-pci,fsdev=job,mount_tag=job </dev/null 2>"$1/qemu"
}

while [ $# -gt 0 ]; do
    case $1 in
    --timeout) timeLimit=$2 && shift 2 ;;
    --memory) memory=$2 && shift 2 ;;
    *) break ;;
    esac
done
[ $# -gt 0 ] || fail "what is to run? bridge-vm.sh [--timeout SECONDS] COMMAND [ARGUMENT…]"
for program in qemu-system-x86_64 busybox cpio apt-get dpkg flock; do
    command -v "$program" >/dev/null || cannotRun "the command $program is not installed"
done
prepareMachine

job=$(mktemp -d)
trap 'rm -rf "$job"' EXIT
{
    printf 'export PATH=%q HOME=/root TERM=dumb\n' "$PATH"
    printf 'cd %q || exit 125\n' "$PWD"
    printf '%q ' "$@"
    echo
} >"$job/command"
echo "$root" >"$job/tree"
status=0
runMachine "$job" || status=$?
if [ -s "$job/status" ]; then
    exit "$(cat "$job/status")"
fi
if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
    echo "bridge-vm: the command took more than $timeLimit s" >&2
    exit 124
fi
cat "$job/qemu" >&2
tail -n 20 "$job/console" >&2 2>/dev/null || true
fail "the machine failed (status $status)"
