#!/bin/sh
# A compiler that warns of something new stops the developers' presets and nobody else's build: warnings_test.sh TREE
# Not ./try's either, as its own test shows.
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 1 1 "$@"
take_tree "$1"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/tree"
cd "$1" && cp -r CMakeLists.txt CMakePresets.json cmake completions docs include lab packaging scripts src "$work/tree" && cd "$work/tree" || exit

# Every file is warned of.
echo '#warning "this is new"' >"$work/new.h"
export CFLAGS="-include $work/new.h" CXXFLAGS="-include $work/new.h"

# built FOLDER WORD...: configures there with these words and builds what is built soonest; says "built", or why not.
built() {
    folder=$1
    shift
    cmake "$@" -B "$folder" >"$work/log" 2>&1 || {
        cat "$work/log"
        return
    }
    cmake --build "$folder" --target kx >"$work/log" 2>&1 && echo built
    grep -o 'error:.*this is new' "$work/log" | grep -o -m 1 error
}

for preset in release sanitize clang; do
    same "developer's preset $preset" error "$(built "$work/$preset" --preset $preset -D KXQOS_TESTS=OFF)"
done
# Packages are built without a preset.
same 'no preset' built "$(built "$work/none" -S . -D KXQOS_TESTS=OFF)"
same 'the preset to install with' built "$(built "$work/install" --preset install)"
for preset in aarch64 aarch64-musl; do
    same "the preset $preset" '  CMAKE_BUILD_TYPE="MinSizeRel"' \
        "$(cmake -N --preset $preset | grep -e BUILD_TYPE -e WARNING_AS_ERROR)"
done
[ $failures -eq 0 ] && echo 'warnings stop the developers alone'
