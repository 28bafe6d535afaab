#!/bin/sh
# The units in a running systemd: does what they confine still work? units_test.sh FOLDER
#
# systemd runs in namespaces of its own, on an overlay of this system that is kept in memory, and the packages in it on the
# lab. No module is there, so what concerns the device as such is left to installed_test.sh. Without root's rights, or
# where systemd does not come up, the status is 77.
set -u
here=$(cd "$(dirname "$0")" && pwd)
self=$here/${0##*/}
[ -e "$here/same.sh" ] || here=$here/.. # in the system they lie together
# shellcheck source=tests/same.sh
. "$here/same.sh"

leave_out() {
    echo "left out: $1"
    exit 77
}

# In the namespaces: a system whose only service is the last part of this file, and systemd as its first process.
begin_system() {
    mount --make-rprivate / && mount -t tmpfs tmpfs "$work" && cd "$work" && mkdir upper work root out || exit
    mount -t overlay -o lowerdir=/,upperdir=upper,workdir=work overlay root || exit
    mount -t proc proc root/proc && mount -t sysfs sysfs root/sys && mount -t tmpfs tmpfs root/run &&
        mount -t tmpfs tmpfs root/dev && mount -t tmpfs tmpfs root/tmp && mkdir root/dev/shm || exit
    for device in null:3 zero:5 full:7 random:8 urandom:9; do
        mknod -m 666 "root/dev/${device%:*}" c 1 "${device#*:}" || exit
    done
    cp "$packages"/*.deb root/root && cp "$self" "$here/same.sh" root/root || exit
    for package in root/root/*.deb; do
        chroot root dpkg --log=/dev/null --no-triggers --install "/root/${package##*/}" >said 2>&1 || cat said
    done
    units=root/etc/systemd/system
    rm -rf $units/*.wants $units/*.requires
    for unit in systemd-tmpfiles-setup.service systemd-tmpfiles-clean.timer systemd-udevd.service \
        systemd-udev-trigger.service systemd-networkd.service; do
        ln -sf /dev/null $units/$unit
    done
    for unit in kxqos kxqos-save; do
        mkdir -p root/var/lab $units/$unit.service.d
        printf '%s\n' '[Service]' 'Environment=LD_PRELOAD=/usr/lib/kxqos-lab/libkxqos-lab.so' \
            'Environment=LD_LIBRARY_PATH=/usr/lib/kxqos-lab KXQOS_LAB_STATE=/var/lab/state' \
            'ReadWritePaths=/var/lab' >$units/$unit.service.d/lab.conf
        # Shorter limits, in the place of those that are there.
        sed -e '/dev-kxqos.device$/d' -e 's/^TimeoutStartSec=30$/TimeoutStartSec=2/' \
            -e 's/^TimeoutStopSec=5$/TimeoutStopSec=1/' root/lib/systemd/system/$unit.service >$units/$unit.service
    done
    printf '%s\n' '[Unit]' 'SuccessAction=exit-force' 'FailureAction=exit-force' '[Service]' Type=oneshot \
        'ExecStart=/root/units_test.sh --inside' 'StandardOutput=file:/root/said' \
        'StandardError=inherit' >$units/test.service
    : >root/root/said
    mount --bind "$said_by_it" root/root/said || exit
    exec chroot root env container=test /lib/systemd/systemd --system --unit=test.service --show-status=no
}

in_lab() {
    kxqos-lab --state /var/lab/state -- "$@"
}
buckets() {
    in_lab kxqosctl configuration show | grep ^bucket | paste -sd , -
}

# In the system
check_units() {
    echo 'bucket 7 rate 1024' >/etc/kxqos.conf
    systemctl start kxqos
    same 'start' '0 bucket 7 rate 1024' "$? $(buckets)"
    echo 'bucket 8 rate 64' >/etc/kxqos.conf
    systemctl reload kxqos
    same 'reload' '0 bucket 8 rate 64' "$? $(buckets)"
    in_lab kxqosctl bucket 9 rate 128
    systemctl stop kxqos
    same 'stop' '0 bucket 8 rate 64,bucket 9 rate 128' "$? $(buckets)"

    # Somebody else's file, and then a link to somewhere else.
    chown 1:2 /etc/kxqos.conf && chmod 640 /etc/kxqos.conf
    systemctl start kxqos-save
    same 'save' '0 bucket 8 rate 64,bucket 9 rate 128' "$? $(grep ^bucket /etc/kxqos.conf | paste -sd , -)"
    same 'save: owner and mode' '1 2 640' "$(stat -c '%u %g %a' /etc/kxqos.conf)"
    chmod 600 /etc/kxqos.conf && mv /etc/kxqos.conf /var/real.conf && ln -s /var/real.conf /etc/kxqos.conf
    in_lab kxqosctl bucket 8 delete
    systemctl start kxqos-save
    same 'save through a link' '0 bucket 9 rate 128' "$? $(grep ^bucket /var/real.conf)"
    in_lab kxqosctl bucket 9 delete
    systemctl start kxqos
    same 'start with a file of another user' '0 bucket 9 rate 128' "$? $(buckets)"

    echo 'rule 65 action queue 1' >/var/real.conf
    systemctl restart kxqos 2>/dev/null
    same 'a file that is not right' '1 failed bucket 9 rate 128' "$? $(systemctl is-failed kxqos) $(buckets)"
    same 'what is in the log' \
        'kxqos-config: /etc/kxqos.conf:1: Err: Maximum 64 rules of qos profile!: rule 65 action queue 1' \
        "$(journalctl --sync && journalctl -u kxqos -t kxqos-config -o cat)"
    # Save while the gateway that was just switched on is configured.
    echo 'bucket 9 rate 128' >/var/real.conf
    systemctl reset-failed kxqos
    kxqos-lab --state /var/lab/state --reboot
    systemctl start kxqos kxqos-save
    same 'save beside boot' '0 bucket 9 rate 128' "$? $(grep ^bucket /var/real.conf)"

    # A module that never answers: somebody else keeps the lab's gateway.
    systemctl stop kxqos
    mkfifo /tmp/kept
    python3 -c 'import fcntl, time
state = open("/var/lab/state", "r+b")
fcntl.lockf(state, fcntl.LOCK_EX)
open("/tmp/kept", "w").close()
time.sleep(60)' &
    keeper=$!
    read -r _ </tmp/kept
    for unit in kxqos kxqos-save; do
        systemctl start $unit 2>/dev/null
        same "$unit without an answer" '1 failed timeout' \
            "$? $(systemctl is-failed $unit) $(systemctl show -p Result --value $unit)"
    done
    kill $keeper
    wait $keeper 2>/dev/null
    rm /etc/kxqos.conf
    systemctl reset-failed kxqos
    systemctl start kxqos
    same 'no file' '0 inactive' "$? $(systemctl is-failed kxqos)"
    [ "$failures" -eq 0 ] && echo 'what is confined works'
}

case $1 in
--begin)
    packages=$2
    work=$3
    said_by_it=$4
    begin_system
    ;;
--inside)
    check_units
    exit
    ;;
esac

[ "$(id -u)" -eq 0 ] || leave_out 'not root'
groups=$(findmnt -n -o TARGET -t cgroup2 | head -n 1)
group=$groups/kxqos-units-$$
if [ -z "$groups" ] || ! mkdir "$group" 2>/dev/null; then
    leave_out 'no control groups can be made'
fi
work=$(mktemp -d)
said=$(mktemp)
trap 'find "$group" -depth -type d -exec rmdir {} \;; rmdir "$work"; rm "$said"' EXIT
# The group is the system's root.
# shellcheck disable=SC2016 # for the inner shell
sh -c 'echo $$ >"$0/cgroup.procs" && exec "$@"' "$group" timeout --signal=KILL 120 unshare --pid --fork --kill-child \
    --mount --ipc --uts --cgroup --net "$self" --begin "$(cd "$1" && pwd)" "$work" "$said" </dev/null
cat "$said"
[ -s "$said" ] || leave_out 'systemd does not come up'
grep -qx 'what is confined works' "$said"
