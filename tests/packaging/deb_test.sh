#!/bin/sh
# The Debian packages: built twice from scratch, the same bytes; lintian finds no error; installed, tried, and purged.
# shellcheck disable=SC2317 # cleanup is called by trap
set -u
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
tree=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The sources alone, in a folder of their own.
copy_tree() {
    mkdir -p "$1"
    (cd "$tree" && cp -r CMakeLists.txt cmake completions docs include lab packaging scripts src tools "$1")
}

# Folders, time zones, languages and umasks differ.
copy_tree "$work/one"
copy_tree "$work/a-longer-name/two"
(cd / && umask 077 && TZ=Asia/Tokyo LC_ALL=C "$work/one/packaging/build-deb" "$work/debs1") >/dev/null || exit
(cd "$work" && TZ=UTC LC_ALL=C.UTF-8 a-longer-name/two/packaging/build-deb "$work/debs2") >/dev/null || exit
cd "$work/debs1" || exit
architecture=$(dpkg --print-architecture)
version=$(sed -n 's/^project(kxqosctl VERSION \([0-9.]*\).*/\1/p' "$tree/CMakeLists.txt")
tool=kxqosctl_${version}_$architecture.deb
lab=kxqos-lab_${version}_$architecture.deb
same 'packages' "$lab $tool" "$(echo *)"
for deb in *.deb; do
    cmp "$deb" "../debs2/$deb" || failures=$((failures + 1))
done
same 'version of the changelog' "kxqosctl ($version)" \
    "$(sed -n '1s/ unstable.*//p' "$tree/packaging/debian/changelog")"

# Errors, warnings and overrides that nothing needs; the lab has a README instead of a manual page. lintian must have
# looked: the missing licence is always there, and overridden.
lintian --no-cfg --allow-root --display-info --show-overrides ./*.deb >"$work/lintian" 2>&1
same 'lintian' 'W: kxqos-lab: no-manual-page [usr/bin/kxqos-lab]' \
    "$(grep -v -e '^[ION]: ' -e '^N:$' "$work/lintian")$(
        grep -e unused-override -e mismatched-override "$work/lintian")"
same 'overrides' 2 "$(grep -c '^O: .*: no-copyright-file' "$work/lintian")"

# Into a root of its own, which is empty but for dpkg's records; there are no scripts that would run in it.
root=$work/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
: >"$root/var/lib/dpkg/status"
as_root=''
[ "$(id -u)" -eq 0 ] || as_root=fakeroot
in_root() {
    $as_root dpkg --root="$root" --log=/dev/null --force-depends "$@" >said 2>&1 || {
        cat said
        failures=$((failures + 1))
    }
}
in_root --install "$tool" "$lab"
installed=$(cd "$root/usr" && find . -type f ! -path './share/doc/*' ! -path './share/lintian/*' | sort)
same 'files' './bin/kxqos-lab
./bin/kxqos-restore
./bin/kxqos-save
./bin/kxqosctl
./lib/kxqos-lab/libkx.so
./lib/kxqos-lab/libkxqos-lab.so
./lib/systemd/system/kxqos-save.service
./lib/systemd/system/kxqos.service
./share/bash-completion/completions/kxqosctl
./share/man/man8/kxqos-restore.8.gz
./share/man/man8/kxqos-save.8.gz
./share/man/man8/kxqosctl.8.gz
./share/zsh/site-functions/_kxqosctl' "$installed"

depends=$(dpkg-deb -f "$tool" Depends)
same 'depends' "libc6 (>= ${depends##* }" "$depends"
for binary in bin/kxqosctl bin/kxqos-lab lib/kxqos-lab/libkx.so lib/kxqos-lab/libkxqos-lab.so; do
    same "RUNPATH of $binary" '' "$(readelf -d "$root/usr/$binary" | grep -e RUNPATH -e RPATH)"
    glibc=$(readelf -V "$root/usr/$binary" | grep -o 'GLIBC_[0-9.]*' | sed 's/.*_//' | sort -V | tail -n 1)
    same "C library of $binary is the declared one or older" yes \
        "$(printf '%s\n%s)\n' "$glibc" "${depends##* }" | sed 's/)//' | sort -VC && echo yes)"
done

PATH=$root/usr/bin:$PATH
in_lab() {
    kxqos-lab --state "$work/state" -- "$@"
}
in_lab kxqosctl bucket 7 rate 1024
same 'in the lab' 'bucket 7 rate 1024' "$(in_lab kxqosctl configuration show | grep ^bucket)"
in_lab kxqos-save "$work/kxqos.conf" || failures=$((failures + 1))
kxqos-lab --state "$work/state" --reboot
in_lab kxqos-restore --clear "$work/kxqos.conf" || failures=$((failures + 1))
same 'restored' 'bucket 7 rate 1024' "$(in_lab kxqosctl configuration show | grep ^bucket)"
# shellcheck disable=SC2016 # for the inner shell
same 'completion' puredscpremark "$(bash -c '. "$0" && COMP_LINE="kxqosctl pu" COMP_POINT=11 && _kxqosctl &&
    echo "${COMPREPLY[@]}"' "$root/usr/share/bash-completion/completions/kxqosctl")"
# Its only complaint is that this root is no whole system.
if command -v systemd-analyze >/dev/null; then
    for unit in kxqos kxqos-save; do
        same "systemd-analyze verify $unit" '' "$(systemd-analyze --root="$root" --man=no verify \
            "/usr/lib/systemd/system/$unit.service" 2>&1 | grep -v 'Unit sysinit.target not found')"
    done
fi

in_root --purge kxqosctl kxqos-lab
same 'what is left' '' "$(find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print)"

[ $failures -eq 0 ] && echo 'the packages are the same twice, and right'
