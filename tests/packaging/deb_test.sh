#!/bin/sh
# The Debian packages: built twice from scratch, the same bytes; lintian finds nothing; what is in them. They are left in
# a folder for those who want to install them: deb_test.sh FOLDER RELEASE
# RELEASE is the folder of the release build.
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 2 2 "$@"
take_build "$2"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
packages=$1
release=$(cd "$2" && pwd)
tree=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The sources alone, in a folder of their own.
copy_tree() {
    mkdir -p "$1"
    (cd "$tree" && cp -r CMakeLists.txt cmake completions debian docs include lab packaging scripts src "$1")
}

said=$("$tree/packaging/build-deb" -aarm64 2>&1)
same 'an option alone' '2 build-deb: not a folder: -aarm64 (--help tells more)' "$? $said"
same 'help' 'Builds the Debian packages from a clean build: packaging/build-deb [FOLDER [OPTIONS]]' \
    "$("$tree/packaging/build-deb" --help | head -n 1)"

# Folders, time zones, languages and umasks differ.
copy_tree "$work/one"
copy_tree "$work/a-longer-name/two"
before=$(find "$work/one" | sort)
rm -rf "$packages"
(cd / && umask 077 && TZ=Asia/Tokyo LC_ALL=C "$work/one/packaging/build-deb" "$packages") >/dev/null || exit
(cd "$work" && TZ=UTC LC_ALL=C.UTF-8 a-longer-name/two/packaging/build-deb "$work/again") >/dev/null || exit
cd "$packages" || exit
architecture=$(dpkg --print-architecture)
version=$(sed -n 's/^project(kxqosctl VERSION \([0-9.]*\).*/\1/p' "$tree/CMakeLists.txt")
tool=kxqosctl_${version}_$architecture.deb
lab=kxqos-lab_${version}_$architecture.deb
same 'packages' "$lab $tool" "$(echo *)"
for deb in *.deb; do
    cmp "$deb" "$work/again/$deb" || failures=$((failures + 1))
done
same 'version of the changelog' "kxqosctl ($version)" "$(sed -n '1s/ unstable.*//p' "$tree/debian/changelog")"
same 'files among the sources' "$before" "$(find "$work/one" | sort)"

# The lab's manual page, if it has one, is in the package.
page=''
missing='W: kxqos-lab: no-manual-page [usr/bin/kxqos-lab]'
if [ -e "$tree/lab/kxqos-lab.1" ]; then
    page=./usr/share/man/man1/kxqos-lab.1.gz
    missing=''
fi

# Errors, warnings and overrides that nothing needs. lintian must have looked: the missing licence is always there, and
# overridden.
lintian --no-cfg --allow-root --display-info --show-overrides ./*.deb >"$work/lintian" 2>&1
same 'lintian' "$missing" "$(grep -v -e '^[ION]: ' -e '^N:$' "$work/lintian")$(
    grep -e unused-override -e mismatched-override "$work/lintian")"
same 'overrides' 2 "$(grep -c '^O: .*: no-copyright-file' "$work/lintian")"

# Where /usr is merged, units and rules are found in either folder.
root=$work/root
for deb in *.deb; do
    dpkg-deb -x "$deb" "$root"
done
same 'the lab'\''s manual page' "$page" "$(cd "$root" && find ./usr/share/man -name 'kxqos-lab*')"
same 'files' './usr/bin/kxqos-config
./usr/bin/kxqos-lab
./usr/bin/kxqosctl
./usr/lib/kxqos-lab/libkx.so
./usr/lib/kxqos-lab/libkxqos-lab.so
./usr/lib/systemd/system/kxqos-save.service
./usr/lib/systemd/system/kxqos.service
./usr/lib/sysusers.d/kxqos.conf
./usr/lib/udev/rules.d/60-kxqos.rules
./usr/share/bash-completion/completions/kxqos-config
./usr/share/bash-completion/completions/kxqosctl
./usr/share/man/man8/kxqos-config.8.gz
./usr/share/man/man8/kxqosctl.8.gz
./usr/share/zsh/vendor-completions/_kxqos-config
./usr/share/zsh/vendor-completions/_kxqosctl' \
    "$(cd "$root" && find . ! -type d ! -path './usr/share/doc/*' ! -path './usr/share/lintian/*' \
        ! -name 'kxqos-lab.1*' |
        sed 's|^\./lib/|./usr/lib/|' | sort)"

# The C library that is declared is the one that is needed, and nothing else is.
needed() {
    for binary; do
        readelf -V "$root/usr/$binary" | grep -o 'GLIBC_[0-9.]*'
    done | sed 's/.*_//' | sort -V | tail -n 1
}
# With what makes the group.
same 'depends of kxqosctl' \
    "systemd | systemd-standalone-sysusers | systemd-sysusers, libc6 (>= $(needed bin/kxqosctl bin/kxqos-config))" \
    "$(dpkg-deb -f "$tool" Depends)"
same 'depends of kxqos-lab' \
    "libc6 (>= $(needed bin/kxqos-lab lib/kxqos-lab/libkx.so lib/kxqos-lab/libkxqos-lab.so))" \
    "$(dpkg-deb -f "$lab" Depends)"
for binary in bin/kxqosctl bin/kxqos-config bin/kxqos-lab lib/kxqos-lab/libkx.so lib/kxqos-lab/libkxqos-lab.so; do
    same "RUNPATH of $binary" '' "$(readelf -d "$root/usr/$binary" | grep -e RUNPATH -e RPATH)"
done

# The programs are the release's: no flag of Debian's has come in.
for program in kxqosctl kxqos-config; do
    for section in .text .rodata .data; do
        objcopy -O binary -j $section "$release/$program" "$work/built"
        objcopy -O binary -j $section "$root/usr/bin/$program" "$work/packed"
        cmp "$work/built" "$work/packed" || failures=$((failures + 1))
    done
done

[ $failures -eq 0 ] && echo 'the packages are the same twice, and right'
