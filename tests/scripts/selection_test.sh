#!/bin/sh
# ./test sets up and builds what the tests that are asked for need, and no more; without a selection, everything. What it
# calls is played by others, which write down that they were called.
# usage: selection_test.sh TREE
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
unset KXQOS_RIG_SHARE # of the run that this is part of
mkdir -p "$work/tree/scripts" "$work/tree/rig" "$work/bin"
cp "$1/test" "$work/tree"
cp "$1/scripts/help.sh" "$work/tree/scripts"
cd "$work/tree" || exit
called=$work/called
export PLAYED_CALLS="$called" PLAYED_TESTS="$work/tests"

# played PROGRAM: from standard input.
played() {
    { echo '#!/bin/sh' && cat; } >"$1"
    chmod +x "$1"
}
echo "echo \"setup \$*\" >>'$called'" | played scripts/setup
echo "echo fetch >>'$called'" | played rig/fetch
# Of cmake, what is built.
played "$work/bin/cmake" <<'END'
case $* in
*--build*--preset*) echo "build $3" >>"$PLAYED_CALLS" ;;
*--build*) echo "build $2" >>"$PLAYED_CALLS" ;;
esac
END
# Of ctest, the last run. It has these tests.
played "$work/bin/ctest" <<'END'
case $1 in
--help) printf '  %s\n' '-R <regex>, --tests-regex <regex>' '--rerun-failed' '-j <jobs>' && exit ;;
esac
folder=$2
shift 2
if [ "$1" = -N ]; then
    grep "^$folder " "$PLAYED_TESTS" | cut -d ' ' -f 2 | grep -E "${3-}" | sed 's/.*/  Test  #1: &/'
else
    echo "ctest $(cat build/CTestTestfile.cmake)" >>"$PLAYED_CALLS"
fi
END
cat >"$PLAYED_TESTS" <<'END'
build/release transcript.rule.number
build/release unit.Number.Decimal
build/release docs.agree
build/release rig
build/sanitize sanitize.transcript.rule.number
build/sanitize sanitize.unit.Number.Decimal
build/names fuzz.words
END

# calls WANTED WORD...: what ./test calls when it is run with these words.
calls() {
    wanted=$1
    shift
    rm -rf build
    : >"$called"
    PATH=$work/bin:$PATH bash ./test "$@" >"$work/said" 2>&1 || cat "$work/said"
    same "./test $*" "$wanted" "$(grep -v '^fetch$' "$called")"
    # The fetching runs beside the rest, so its place in the order is not told.
    case $wanted in *'setup rig'*) fetches=1 ;; *) fetches=0 ;; esac
    same "./test $*: fetches" "$fetches" "$(grep -cx fetch "$called")"
}

calls 'setup unit
setup unit
build release
build sanitize
ctest subdirs(release sanitize)' -R transcript.rule
calls 'setup unit
setup unit
build sanitize
ctest subdirs(sanitize)' -R sanitize.unit
calls 'setup unit
setup test
build release
ctest subdirs(release)' -R docs.agree
calls 'setup unit
setup fuzz
build build/fuzz
ctest subdirs(fuzz)' -R fuzz.words
calls 'setup unit
setup rig
build release
ctest subdirs(release)' -R '^rig$'
calls 'setup unit
setup fuzz
setup unit
build release
build sanitize
build build/fuzz
ctest subdirs(release sanitize fuzz)' -R 'fuzz|Number'
# A name that no test has: nothing is built, and ctest says so.
calls 'setup unit
ctest subdirs()' -R nosuch

# Everything.
everything='setup test
setup rig
build release
build sanitize
build build/fuzz
build clang
ctest subdirs(release sanitize fuzz)'
calls "$everything"
calls "$everything" -j 4
calls "$everything" --rerun-failed

[ "$failures" -eq 0 ]
