#!/bin/sh
# The rules that the self-test shows are the library's, of whatever sort: here those of walk.cpp, whose library is $1.
set -eu

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

LD_PRELOAD=$1 "$KXQOS_TOOL" test api >"$folder/got"

# The blanks at the ends of lines are meant: "-" marks them here.
sed 's/-$//' >"$folder/expected" <<'END'
@@@Case 6: qos get all rule testing -
profile 3 rule 7: -
profile 65535 rule 65535: -
    L4 srcPort 65535-65534  -
    Assign Queue 65535 -
profile 0 rule 1: -
    L4 dstPort 65533-65532  inverse range -
profile 0 rule 2: -
    L4 srcPort 1-2  inverse -
    L4 dstPort 3-4  range -
    Assign Queue 0 -
profile 0 rule 3: -
    L4 srcPort 1-2  range -
    L4 dstPort 3-4  inverse -
    Assign Queue 0 -
@@@Case 6:  Result[Success] -

END
sed -n '/^@@@Case 6: qos/,$p' "$folder/got" | diff "$folder/expected" -
