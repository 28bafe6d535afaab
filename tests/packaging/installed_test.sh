#!/bin/sh
# The Debian packages in a system: installed, tried, enabled, upgraded, removed and purged: installed_test.sh FOLDER
#
# The system is this one, seen through an overlay: what is changed is kept in memory, and forgotten. That needs root's
# rights; without them, or where nothing may be mounted, the status is 77.
# Needs scripts/setup test.
set -u
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/help.sh
. "$here/../../scripts/help.sh"
take_words 1 2 "$@"
[ -d "$1" ] || refuse "not a folder: $1"
# shellcheck source=tests/same.sh
. "$here/../same.sh"
# shellcheck source=tests/tools/typed.sh
. "$here/../tools/typed.sh"

if [ $# -eq 1 ]; then
    as_root=''
    [ "$(id -u)" -eq 0 ] || as_root='sudo -n'
    # In a chroot, / is no mount that could be made private.
    for propagation in private unchanged none; do
        $as_root unshare --mount --propagation $propagation true 2>/dev/null && break
    done
    if [ "$propagation" = none ]; then
        echo 'left out: nothing may be mounted'
        exit 77
    fi
    work=$(mktemp -d)
    trap 'rmdir "$work"' EXIT
    $as_root unshare --mount --propagation "$propagation" "$here/installed_test.sh" "$1" "$work"
    exit
fi
packages=$(cd "$1" && pwd)
work=$2

# Nothing that is mounted in the folder is seen outside, even if / is shared.
trap 'cd / && umount --lazy "$work" && umount "$work"' EXIT
mount --bind "$work" "$work" && mount --make-private "$work" && mount -t tmpfs tmpfs "$work" || exit
cd "$work" && mkdir upper work root &&
    mount -t overlay -o lowerdir=/,upperdir=upper,workdir=work overlay root || exit
mount --rbind --make-rprivate /dev root/dev && mount -t proc proc root/proc && mount -t sysfs sysfs root/sys &&
    mount -t tmpfs tmpfs root/run || exit
in_root() {
    chroot root env -u LD_PRELOAD HOME=/root "$@"
}
# dpkg WORDS: no other package's triggers are run.
dpkg_in_root() {
    in_root dpkg --log=/dev/null --no-triggers "$@" >said 2>&1 || {
        cat said
        failures=$((failures + 1))
    }
}
cp "$packages"/*.deb root/root || exit
cd root/root || exit
tool=$(echo kxqosctl_*.deb)
lab=$(echo kxqos-lab_*.deb)
# The same package, as its next version.
dpkg-deb -R "$tool" next && sed -i 's/^Version: .*/&+next/' next/DEBIAN/control && dpkg-deb -b next next.deb >/dev/null ||
    exit
cd "$work" || exit

dpkg_in_root --install "/root/$tool" "/root/$lab"

# The programs and the lab
in_lab() {
    in_root kxqos-lab --state /root/state -- "$@"
}
in_lab kxqosctl bucket 7 rate 1024
same 'in the lab' 'bucket 7 rate 1024' "$(in_lab kxqosctl configuration show | grep ^bucket)"
in_lab kxqos-config save /root/saved || failures=$((failures + 1))
in_root kxqos-lab --state /root/state --reboot
same 'after a reboot' '' "$(in_lab kxqosctl configuration show | grep ^bucket)"
in_lab kxqos-config apply /root/saved || failures=$((failures + 1))
same 'applied' 'bucket 7 rate 1024' "$(in_lab kxqosctl configuration show | grep ^bucket)"

# Completion
at_prompt() {
    echo "$typed" | "$here/../tools/at_prompt" --root "$work/root" "$@"
}
same 'bash, at a prompt' "$called" "$(at_prompt bash '. /usr/share/bash-completion/bash_completion')"
same 'zsh, at a prompt' "$called" "$(at_prompt zsh '')"

# The units. No link is left that leads nowhere.
wants=root/etc/systemd/system
linked() {
    for wanting in multi-user.target dev-kxqos.device; do
        link=$wants/$wanting.wants/kxqos.service
        [ -L "$link" ] && in_root test -e "/${link#root/}" && echo "$wanting"
    done | paste -sd ' ' -
}
both='multi-user.target dev-kxqos.device'
enabled() {
    in_root systemctl is-enabled kxqos.service 2>/dev/null
}
# The exposure, of 100, is that of a program that runs as root and sees the network, as the library may have to.
for unit in kxqos kxqos-save; do
    same "systemd-analyze verify $unit" '' "$(in_root systemd-analyze --man=no verify $unit.service 2>&1)"
    in_root systemd-analyze security --offline=true --threshold=28 --no-pager $unit.service >said 2>&1 || {
        cat said
        failures=$((failures + 1))
    }
done
# How long a module that never answers is waited for.
same 'time limits' '2 TimeoutStartSec=30
2 TimeoutStopSec=5' \
    "$(in_root cat /lib/systemd/system/kxqos.service /lib/systemd/system/kxqos-save.service |
        grep ^Timeout | sort | uniq -c | sed 's/^ *//')"

# The group, and the rule for udev: the device gets the group, a mode and a unit. Another device plays it, in a /dev of its
# own where nothing real is changed.
same 'group' 1 "$(grep -c '^qosadmin:' root/etc/group)"
rules=$(cd root && echo usr/lib/udev/rules.d/60-kxqos.rules)
mount -t tmpfs tmpfs root/dev && mknod -m 666 root/dev/null c 1 3 && mknod -m 600 root/dev/full c 1 7 || exit
mkdir -p root/run/udev/rules.d
sed 's|/dev/kxqos|/dev/full|' "root/$rules" >"root/run/udev/rules.d/${rules##*/}"
in_root udevadm test --action=add /sys/devices/virtual/mem/full >said 2>&1
# Newer ones only say what they would do.
permissions() {
    if grep -q '^Device node group:' said; then
        sed -n -e '/^Device node permission:/{n;s/^ *0*//p}' -e '/^Device node group:/{n;s/^ *\([^ ]*\).*/\1/p}' said |
            sort | paste -sd ' ' -
    else
        in_root stat -c '%a %G' /dev/full
    fi
}
same 'the rule: permissions' '660 qosadmin' "$(permissions)"
same 'the rule: tags' TAGS=:systemd: "$(sed -n 's/^ *\(TAGS=.*\)/\1/p' said)"
same 'the rule: wrong' '' "$(grep "${rules##*/}" said | grep -iE 'invalid|unknown|ignoring')"
rm -r root/run/udev
umount root/dev

same 'installed' 'disabled ' "$(enabled) $(linked)"
dpkg_in_root --install /root/next.deb
same 'upgraded, not enabled' 'disabled ' "$(enabled) $(linked)"
in_root systemctl --quiet enable kxqos
same 'enabled' "enabled $both" "$(enabled) $(linked)"
dpkg_in_root --install "/root/$tool" # back, as dpkg allows
same 'another version, enabled' "enabled $both" "$(enabled) $(linked)"
dpkg_in_root --remove kxqosctl
same 'removed, still enabled' yes "$([ -L $wants/multi-user.target.wants/kxqos.service ] && echo yes)"
dpkg_in_root --install "/root/$tool"
same 'removed and back, enabled' "enabled $both" "$(enabled) $(linked)"
in_root systemctl --quiet disable kxqos
dpkg_in_root --install /root/next.deb
same 'upgraded, disabled by hand' 'disabled ' "$(enabled) $(linked)"
in_root systemctl --quiet enable kxqos
# Nothing is started, stopped or applied once more by an installation.
same 'what the scripts do to a running system' '' \
    "$(grep -h -e invoke -e 'systemctl.*start' -e kxqos-config root/var/lib/dpkg/info/kxqos*.p[or]* | grep -v '^#')"

# What was saved is not the packages', and a group stays, because files may be its.
cp root/root/saved root/etc/kxqos.conf
dpkg_in_root --purge kxqosctl kxqos-lab
rm -r root/root/*
same 'what is left' 'upper/etc/.pwd.lock
upper/etc/group
upper/etc/group-
upper/etc/gshadow
upper/etc/gshadow-
upper/etc/kxqos.conf' "$(find upper ! -type d ! -path 'upper/var/lib/dpkg/*' | sort)"
same 'the group stays' '> qosadmin' "$(diff /etc/group root/etc/group | sed -n 's/^\([<>] [^:]*\):.*/\1/p')"

[ $failures -eq 0 ] && echo 'the packages are installed, and leave as they came'
