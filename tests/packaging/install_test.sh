#!/bin/sh
# cmake --install of a build, below DESTDIR and with another prefix: install_test.sh BUILD
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 1 1 "$@"
take_build "$1"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
build=$1
tree=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

DESTDIR=$work/root cmake --install "$build" --prefix /opt/kx >/dev/null || exit
same 'outside the prefix' opt/kx "$(cd "$work/root" && echo */*)"
cd "$work/root/opt/kx" || exit
page=''
[ ! -e "$tree/lab/kxqos-lab.1" ] || page=./share/man/man1/kxqos-lab.1
same 'the lab'\''s manual page' "$page" "$(find ./share/man -name 'kxqos-lab*')"
same 'files' './bin/kxqos-config
./bin/kxqos-lab
./bin/kxqosctl
./lib/kxqos-lab/libkx.so
./lib/kxqos-lab/libkxqos-lab.so
./lib/systemd/system/kxqos-save.service
./lib/systemd/system/kxqos.service
./lib/sysusers.d/kxqos.conf
./lib/udev/rules.d/60-kxqos.rules
./share/bash-completion/completions/kxqos-config
./share/bash-completion/completions/kxqosctl
./share/doc/kxqos-lab/README.md
./share/man/man8/kxqos-config.8
./share/man/man8/kxqosctl.8
./share/zsh/site-functions/_kxqos-config
./share/zsh/site-functions/_kxqosctl' "$(find . -type f ! -name 'kxqos-lab.1' | sort)"
for program in bin/kxqos-config bin/kxqos-lab bin/kxqosctl; do
    same "$program is a program" yes "$([ -x $program ] && echo yes)"
done
for binary in bin/kxqosctl bin/kxqos-config bin/kxqos-lab lib/kxqos-lab/libkx.so lib/kxqos-lab/libkxqos-lab.so; do
    same "RUNPATH of $binary" '' "$(readelf -d $binary | grep -e RUNPATH -e RPATH)"
done
# What is built looks beside itself, and never in the folder that it is run in.
for program in kxqosctl kxqos-config; do
    same "RUNPATH of $program in the build folder" "[\$ORIGIN]" \
        "$(readelf -d "$build/$program" | sed -n 's/.*runpath: //p')"
done
# The lab finds its libraries; the programs are found beside it.
printf 'bucket 7 rate 1024\n' | bin/kxqos-lab --state "$work/state" -- kxqos-config apply -
same 'in the lab' 'bucket 7 rate 1024' \
    "$(bin/kxqos-lab --state "$work/state" -- kxqosctl configuration show | grep ^bucket)"
# Uninstalled.
sed "s|^|$work/root|" "$build/install_manifest.txt" | xargs -d '\n' rm || failures=$((failures + 1))
same 'what is left' '' "$(find . ! -type d)"
[ $failures -eq 0 ] && echo 'installed below DESTDIR, and right'
