#!/bin/sh
# Linters of other versions than the tree is held to: their checks say so, and neither pass nor fail. held_test.sh TREE
# Needs scripts/setup test.
set -u
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 1 1 "$@"
take_tree "$1"
# shellcheck source=tests/same.sh
. "$(dirname "$0")/../same.sh"
cd "$1" || exit
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin"

# is LINTER LINE...: a linter that says this of its version, and finds everything wrong.
is() {
    linter=$work/bin/$1
    shift
    {
        printf "#!/bin/sh\n[ \"\$1\" != --version ] || {\ncat <<END\n"
        printf '%s\n' "$@"
        printf "END\nexit 0\n}\nexit 9\n"
    } >"$linter"
    chmod +x "$linter"
}

# said WORD...: what it says, and its status.
said() {
    PATH=$work/bin:$PATH "$@" 2>&1
    echo "= $?"
}

is clang-format 'Debian clang-format version 19.1.7 (3+b1)'
is clang-tidy 'Debian LLVM version 19.1.7' '  Optimized build.'
is cppcheck 'Cppcheck 2.17.1'
is ansible-lint 'ansible-lint 25.2.1 using ansible-core:2.19.0'
skip='skip: the tree is held to'
same 'clang-format 19' "$skip clang-format 14, and here is 19.1.7
= 77" "$(said scripts/lint/format)"
same 'what clang-format 19 would do' "$skip clang-format 14, and here is 19.1.7
= 77" "$(said scripts/format)"
: >"$work/compile_commands.json"
same 'clang-tidy 19' "$skip clang-tidy 14, and here is 19.1.7
= 77" "$(said scripts/lint/tidy "$work")"
same 'cppcheck 2.17' "$skip cppcheck 2.10, and here is 2.17.1
= 77" "$(said scripts/lint/cppcheck)"
same 'ansible-lint 25.2' "$skip ansible-lint 6.13, and here is 25.2.1
= 77" "$(said scripts/lint/ansible)"

# As Debian 12 has them.
is clang-format 'Debian clang-format version 14.0.6'
is clang-tidy 'Debian LLVM version 14.0.6' '  Optimized build.'
is cppcheck 'Cppcheck 2.10'
is ansible-lint 'ansible-lint 6.13.1 using ansible 2.14.18'
same 'clang-format 14' '= 123' "$(said scripts/lint/format)" # xargs says that it failed
for linter in clang-format clang-tidy cppcheck ansible-lint; do
    same "Debian 12's $linter" '= 0' "$(said scripts/lint/held $linter)"
done
same "Debian 12's cppcheck finds something" '= 9' "$(said scripts/lint/cppcheck)"
same "Debian 12's ansible-lint finds something" '= 9' "$(said scripts/lint/ansible)"
is clang-tidy 'LLVM (http://llvm.org/):' '  LLVM version 14.0.6' '  Optimized build.'
same "LLVM's own clang-tidy 14" '= 0' "$(said scripts/lint/held clang-tidy)"
# Numbers, not texts that begin alike.
is clang-tidy 'Debian LLVM version 140.0.1'
same 'clang-tidy 140' "$skip clang-tidy 14, and here is 140.0.1
= 77" "$(said scripts/lint/held clang-tidy)"
is cppcheck 'Cppcheck 2.1'
same 'cppcheck 2.1' "$skip cppcheck 2.10, and here is 2.1
= 77" "$(said scripts/lint/held cppcheck)"
is cppcheck 'no number'
same 'cppcheck without a number' "$skip cppcheck 2.10, and here is another
= 77" "$(said scripts/lint/held cppcheck)"
# None is no skip: whoever lints has to have one.
echo 'exit 127' >"$work/bin/cppcheck"
same 'no cppcheck' 'held: no cppcheck: scripts/setup test
= 1' "$(said scripts/lint/held cppcheck)"
[ $failures -eq 0 ] && echo 'linters are held to their versions'
