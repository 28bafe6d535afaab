#!/bin/sh
# What scripts/elsewhere is told: it refuses what it does not know before it does anything. And with everything it calls
# played by others: whatever way it ends, the system that it made is gone, and so is all that ran in it.
# usage: elsewhere_test.sh TREE
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
# A copy, so that nothing is left in the tree's build folder.
mkdir -p "$work/tree/scripts" "$work/bin"
cp "$1/scripts/elsewhere" "$1/scripts/setup" "$1/scripts/help.sh" "$work/tree/scripts"
cd "$work/tree" || exit

# elsewhere WORD...: what it says, and its status.
elsewhere() {
    PATH=$work/bin:$PATH scripts/elsewhere "$@" 2>&1
    echo "= $?"
}

more='(--help tells more)'
same 'no word' "elsewhere: a word is missing $more
= 2" "$(elsewhere)"
for word in --fast -x; do
    same "the option $word" "elsewhere: unknown option: $word $more
= 2" "$(elsewhere "$word")"
done
for word in '' Trixie ../trixie 13; do
    same "the word '$word'" "elsewhere: no release is called: $word $more
= 2" "$(elsewhere "$word")"
done
same 'one word more' "elsewhere: unknown word: quick $more
= 2" "$(elsewhere trixie quick)"
same 'help tells the use' 1 "$(elsewhere --help | grep -c 'scripts/elsewhere RELEASE$')"
same 'the status of help' '= 0' "$(elsewhere --help | tail -n 1)"
same 'left by all these' '' "$(find . -name build)"

# played NAME LINE...: a program of that name that does this.
played() {
    program=$work/bin/$1
    shift
    printf '%s\n' '#!/bin/sh' "$@" >"$program"
    chmod +x "$program"
}

played id 'echo 1000'
same 'not root' "elsewhere: only root can make a system of its own
= 1" "$(elsewhere trixie)"
played id 'echo 0'
played dpkg-query "for package; do echo \"\$package installed\"; done" # nothing is to be set up
same 'a release that there is not' "elsewhere: no release is called: nosuch $more
= 2" "$(PATH=$work/bin:$PATH elsewhere nosuch)"

# Ended while a system is being made. Namespaces need root.
if [ "$(/usr/bin/id -u)" -ne 0 ]; then
    echo 'not root: how it ends when it is interrupted was left out'
    [ $failures -eq 0 ]
    exit
fi
export DEBOOTSTRAP_DIR="$work/debootstrap"
mkdir -p "$DEBOOTSTRAP_DIR/scripts"
: >"$DEBOOTSTRAP_DIR/scripts/trixie"
played apt-get "echo 'http://localhost/none /dev/null:1'"
played apt-config true
root=$work/tree/build/elsewhere/trixie.root
lasts=600.$$ # seconds by which the process is known
played debootstrap "mkdir '$root' '$root/mounted' || exit" "mount -t tmpfs tmpfs '$root/mounted'" \
    "setsid sleep $lasts &" ": >'$work/begun'" "sleep $lasts"

left() {
    pgrep -f -x "sleep $lasts" >/dev/null && echo process
    grep -q "$root" /proc/self/mounts && echo mount
    [ -e "$root" ] && echo folder
}

# ended SIGNAL: its status when it gets that as soon as the system is being made, and what is left half a minute later at
# the latest.
ended() {
    rm -f "$work/begun"
    PATH=$work/bin:$PATH scripts/elsewhere trixie >"$work/said" 2>&1 &
    for _ in $(seq 300); do
        [ ! -e "$work/begun" ] || break
        kill -0 $! 2>/dev/null || break
        sleep 0.1
    done
    left >"$work/before"
    kill -s "$1" $!
    wait $!
    echo "= $?"
    for _ in $(seq 300); do
        [ "$(left)" != "$2" ] || break
        sleep 0.1
    done
    left
}

same 'ended' '= 143' "$(ended TERM '')"
same 'when it was ended there were' 'process
folder' "$(cat "$work/before")"
same 'hung up' '= 129' "$(ended HUP '')"
# Nothing can be done then, but by the next.
same 'killed' '= 137
folder' "$(ended KILL folder)"
same 'the next' '= 143' "$(ended TERM '')"
[ $failures -eq 0 ] && echo 'only what it knows is done, and nothing is left'
