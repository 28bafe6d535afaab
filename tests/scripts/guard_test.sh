#!/bin/sh
# With a compiler for which nothing was recorded bench/guard says so, and still compares what holds with every compiler:
# guard_test.sh TREE TOOL LAB
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 3 3 "$@"
take_tree "$1"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf "#!/bin/sh\necho 99\n" >"$work/gcc"
chmod +x "$work/gcc"

# guard PROGRAM: the sizes and the libraries of PROGRAM without their values, and the status.
guard() {
    PATH=$work:$PATH PYTHONDONTWRITEBYTECODE=1 "$tree/bench/guard" size "$1" "$work" >"$work/said"
    status=$?
    sed 's/glibc [0-9.]*/C/; s/ = .*,/,/' "$work/said"
    echo "= $status"
}

tree=$1
nothing='and nothing is recorded for this compiler and this C library'
same 'the tool' "skip gcc 99, C: size: text, $nothing
skip gcc 99, C: size: file, $nothing
ok   size: needed, recorded libkx.so libc.so.6
= 77" "$(guard "$2")"
same 'a program with other libraries' "skip gcc 99, C: size: text, $nothing
skip gcc 99, C: size: file, $nothing
FAIL size: needed, recorded libkx.so libc.so.6
= 1" "$(guard "$3")"
[ $failures -eq 0 ] && echo 'what is not recorded is left out, and nothing else'
