#!/bin/sh
# The service for OpenWrt, from boot to boot: service_test.sh BUILD
#
# BUILD has kxqos-config and kxqos-lab. The base system is played by stand-ins, the shell is busybox's. What is installed
# lies in a folder, and names that instead of the root: else it is as it is shipped.
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../../scripts/help.sh"
take_words 1 1 "$@"
take_build "$1"
tests=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

sh "$tests/lay-out" "$root" || exit
find "$root" -type f -exec \
    sed -i "s,/\(etc\|var\|lib/functions\|dev/kxqos\|usr/share/kxqos\|bin/sh\|sbin/uci\|tmp/\.uci\),$root/\1,g" {} +
mkdir -p "$root/bin" "$root/dev"
ln -s "$(command -v busybox)" "$root/bin/sh"
for applet in awk sed sort grep cat cp mv rm ls mkdir tr cut wc head paste md5sum sleep timeout chmod dirname stat; do
    ln -s "$(command -v busybox)" "$root/bin/$applet"
done
# All the disks of this machine are not this test's.
printf '#!/bin/sh\n' >"$root/bin/sync"
chmod 755 "$root/bin/sync"
ln -s /dev/null "$root/dev/kxqos"
cp "$tests/session" "$tests/../../same.sh" "$root"
PATH=$root/bin:$build:$PATH
timeout 600 "$root/bin/sh" "$root/session" "$root" "$build/kxqos-lab" --state "$root/state"
