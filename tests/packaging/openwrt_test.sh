#!/bin/sh
# The recipe for OpenWrt, as far as it can be checked without its build system: a stub of what the recipe includes runs
# its steps, with the cross compiler where there is one. And the init script, with rc.common's part played.
# Needs scripts/setup test.
# shellcheck disable=SC2317 # the functions are called by the init script
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
CP:=cp -fpR
PKG_BUILD_DIR=$work/build/\$(PKG_NAME)-\$(PKG_VERSION)
PKG_INSTALL_DIR=\$(PKG_BUILD_DIR)/ipkg-install
END
cat >include/package.mk <<'END'
define BuildPackage
$(eval $(Package/$(1)))
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
same 'what is kept over an upgrade' /etc/kxqos.conf "$(cat conffiles)"
same 'what is installed' './etc/init.d/kxqos
./usr/bin/kxqos-config
./usr/bin/kxqosctl' "$(cd ipkg && find . -type f | sort)"
for program in kxqosctl kxqos-config; do
    binary=ipkg/usr/bin/$program
    same "machine of $program" "$machine" "$(readelf -h $binary | sed -n 's/ *Machine: *//p')"
    same "libraries of $program" 'libc.so.6 libkx.so' \
        "$(readelf -d $binary | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | paste -sd ' ' -)"
    same "RUNPATH of $program" '' "$(readelf -d $binary | grep -e RUNPATH -e RPATH)"
done

# The init script: what is done, in its order. kxqos-config takes a while, so that it would be missed if nobody waited for
# it; it says what is in "says", if there is one, and ends with the status in "status".
mkdir bin
for function in procd_open_instance procd_set_param procd_close_instance; do
    printf '#!/bin/sh\necho "%s $*" >>%s/calls\n' $function "$work" >bin/$function
done
cat >bin/kxqos-config <<END
#!/bin/sh
sleep 0.2
echo "kxqos-config \$*" >>$work/calls
cat $work/says >&2
exit "\$(cat $work/status)"
END
cat >bin/logger <<END
#!/bin/sh
sed "s/^/logger \$*: /" >>$work/calls
END
chmod +x bin/*
PATH=$work/bin:$PATH
# calls STATUS FILE FUNCTION
calls() {
    : >calls
    # shellcheck disable=SC2016 # for the inner shell
    busybox sh -uc '. "$0"; configuration=$1; "$2"' ipkg/etc/init.d/kxqos "$2" "$3" >said 2>&1
    same "$3: status" "$1" $?
    same "$3: said" '' "$(cat said)"
    cat calls
}
: >kxqos.conf
: >says
echo 0 >status
same 'first line' '#!/bin/sh /etc/rc.common' "$(head -n 1 ipkg/etc/init.d/kxqos)"
same 'start' 'kxqos-config apply --keep-going kxqos.conf' "$(calls 0 kxqos.conf start_service)"
same 'start without a file' '' "$(calls 0 none.conf start_service)"
same 'reload' 'kxqos-config apply kxqos.conf' "$(calls 0 kxqos.conf reload_service)"
same 'reload without a file' '' "$(calls 0 none.conf reload_service)"
same 'save' 'kxqos-config save kxqos.conf' "$(calls 0 kxqos.conf save)"
printf '%s\n' 'kxqos-config: kxqos.conf:1: no \n such thing: -x' 'kxqos-config: nothing was changed' >says
echo 2 >status
for how in 'start_service: --keep-going' reload_service:; do
    same "$how that fails" "kxqos-config apply${how#*:} kxqos.conf
logger -t kxqos: kxqos-config: kxqos.conf:1: no \\n such thing: -x
logger -t kxqos: kxqos-config: nothing was changed" "$(calls 2 kxqos.conf "${how%%:*}")"
done
# shellcheck disable=SC2016 # for the inner shell
same 'for rc.common' '19 1 save /etc/kxqos.conf' \
    "$(busybox sh -uc '. "$0"; echo "$START $USE_PROCD $EXTRA_COMMANDS $configuration"' ipkg/etc/init.d/kxqos)"
[ $failures -eq 0 ] && echo 'the recipe builds, and the init script does what it should'
