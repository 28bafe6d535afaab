#!/bin/sh
# The recipe for OpenWrt, as far as it can be checked without its build system: a stub of what the recipe includes runs
# its steps, with the cross compiler where there is one. What the service does is tested in openwrt/.
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 0 0 "$@"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
tree=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit

if command -v aarch64-linux-gnu-g++ >/dev/null; then
    machine=AArch64
    toolchain="-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/aarch64.cmake"
else
    echo 'no cross compiler for aarch64: built for this machine'
    machine=$(readelf -h /bin/sh | sed -n 's/ *Machine: *//p')
    toolchain=''
fi
mkdir include
cat >rules.mk <<END
INCLUDE_DIR:=$work/include
INSTALL_DIR:=install -d -m0755
INSTALL_BIN:=install -m0755
INSTALL_DATA:=install -m0644
INSTALL_CONF:=install -m0600
CP:=cp -fpR
PKG_BUILD_DIR=$work/build/\$(PKG_NAME)-\$(PKG_VERSION)
PKG_INSTALL_DIR=\$(PKG_BUILD_DIR)/ipkg-install
END
cat >include/package.mk <<'END'
define BuildPackage
$(eval $(Package/$(1)))
$(file >$(WORK)/description,$(Package/$(1)/description))
all:
	$(Build/Prepare)
	$(Build/Compile)
	$(call Package/$(1)/install,$(WORK)/ipkg)
	@printf '%s\n' '$(SECTION)|$(CATEGORY)|$(TITLE)|$(DEPENDS)|$(PKG_VERSION)-$(PKG_RELEASE)' >$(WORK)/control
	@printf '%s\n' $(Package/$(1)/conffiles) >$(WORK)/conffiles
endef
END
cat >include/cmake.mk <<END
define Build/Compile
	cmake -S \$(PKG_BUILD_DIR) -B \$(PKG_BUILD_DIR) $toolchain -DCMAKE_INSTALL_PREFIX=/usr \$(CMAKE_OPTIONS) && \\
	cmake --build \$(PKG_BUILD_DIR) -j $(nproc) && \\
	DESTDIR=\$(PKG_INSTALL_DIR) cmake --install \$(PKG_BUILD_DIR)
endef
END
recipe() {
    make "$@" -C "$tree/packaging/openwrt" TOPDIR="$work" WORK="$work"
}
same 'warnings of make' '' "$(recipe -n --warn-undefined-variables 2>&1 | grep -i warning)"
recipe >log 2>&1 || {
    cat log
    exit 1
}
version=$(sed -n 's/^project(kxqosctl VERSION \([0-9.]*\).*/\1/p' "$tree/CMakeLists.txt")
same 'what it says' "net|Network|Control of the QoS engine|@aarch64 +libkx|$version-1" "$(cat control)"
# What the package brings, and what it does not.
same 'configuration that is kept over an upgrade' /etc/config/kxqos "$(cat conffiles)"
same 'other files that are kept' /etc/kxqos.conf "$(cat ipkg/lib/upgrade/keep.d/kxqosctl)"
same 'what is installed' './etc/config/kxqos 600
./etc/init.d/kxqos 755
./etc/uci-defaults/kxqos 755
./lib/upgrade/keep.d/kxqosctl 644
./usr/bin/kxqos-config 755
./usr/bin/kxqosctl 755
./usr/share/kxqos/to-uci.awk 644' "$(cd ipkg && find . -type f -printf '%p %m\n' | LC_ALL=C sort)"
# The tests of the service have the same.
sh "$tree/tests/packaging/openwrt/lay-out" tested || exit
same 'what is tested' '' "$(cd ipkg && find . -type f ! -path './usr/bin/*' -exec cmp {} ../tested/{} \; 2>&1)"
for program in kxqosctl kxqos-config; do
    binary=ipkg/usr/bin/$program
    same "machine of $program" "$machine" "$(readelf -h $binary | sed -n 's/ *Machine: *//p')"
    same "libraries of $program" 'libc.so.6 libkx.so' \
        "$(readelf -d $binary | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | paste -sd ' ' -)"
    same "RUNPATH of $program" '' "$(readelf -d $binary | grep -e RUNPATH -e RPATH)"
done

# The size that is promised is what it takes, stripped as the build system does it, and not far above that.
if [ "$machine" = AArch64 ]; then
    aarch64-linux-gnu-strip ipkg/usr/bin/*
    size=$(find ipkg -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')
    promised=$(sed -n 's/.*Takes \([0-9]*\) KiB of flash.*/\1/p' description)
    same "$size bytes are at most $promised KiB, and at least nine tenths of it" yes \
        "$(awk -v size="$size" -v promised="$promised" 'BEGIN {
            if (size <= promised * 1024 && size >= promised * 1024 * 0.9)
                print "yes"
        }')"
fi

# The page names the options that the script reads, and no others.
# shellcheck disable=SC2016 # as they stand there
sed -n '/^| section | options/,/^$/p' "$tree/docs/gateway.md" | grep -o '`[a-z_0-9]*`' | tr -d '`' | sort -u |
    grep -vxE 'globals|rule|bucket|counter|limit|kxqosctl' >documented
# shellcheck disable=SC2016 # likewise
{
    grep -v '^ *#' ipkg/etc/init.d/kxqos | grep -oE '(one_word|yes_or_no|switch) [a-z_]+' | sed 's/.* //'
    sed -n -e 's/.*config_list_foreach "$section" \([a-z]*\) .*/\1/p' -e 's/^    mode \(.*\)/\1_mode/p' \
        -e 's/^    for key in \(.*\); do/\1/p' ipkg/etc/init.d/kxqos | tr ' ' '\n'
} | sort -u >known
same 'options' "$(cat known)" "$(cat documented)"
same 'first line' '#!/bin/sh /etc/rc.common' "$(head -n 1 ipkg/etc/init.d/kxqos)"
[ $failures -eq 0 ] && echo 'the recipe builds, and says what it brings'
