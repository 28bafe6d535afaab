#!/bin/sh
# The library prints to the same standard output as the tool. What the two print stands in the order in which they
# printed it, also in a file, where nothing is written before the buffer is full.
# Needs scripts/setup test.
set -eu
# shellcheck source=scripts/help.sh
. "$(dirname "$0")/../../scripts/help.sh"
take_words 0 0 "$@"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Runs a command with a library that prints, and compares what stands in the file with standard input. The blanks at
# the ends of lines are meant: "-" marks them there.
expect() {
    sed 's/-$//' >"$folder/expected"
    KXQOS_LAB_LIBKX_PRINTS=1 "$KXQOS_LAB" --state "$folder/state" --fault 'libkx_qos_create_bucket#*=fail' \
        --fault 'libkx_qos_add_rule#*=fail' --fault 'libkx_switchApi_vlanSetRateLimit#2=fail' \
        -- "$KXQOS_TOOL" "$@" >"$folder/got"
    diff "$folder/expected" "$folder/got"
}

expect test wan eth0 counter <<'END'
libkx: libkx_netApi_getWanStats
wan eth0: upPkts=0, upBytes=0, downPkts=0, downBytes=0 -
END

expect limit up mode vlan </dev/null

expect limit up add vlan 5 rate 100 <<'END'
add to a free entry 0
libkx: libkx_switchApi_vlanSetRateLimit
END

# Twice, the second time refused.
expect limit up add vlan 5 rate 200 <<'END'
libkx: libkx_switchApi_vlanSetRateLimit
libkx: libkx_switchApi_vlanSetRateLimit
hw enable vlan 5 rate limit fail -
END

# The line end that the carriage return follows is the tool's own.
expect test api <<END
@@@Case 1: create counter without ID -
libkx: libkx_qos_create_counter
$(printf '\r') step1 - create counter 1 -
libkx: libkx_qos_is_counter_created
$(printf '\r') step2 - find counter 1 -
libkx: libkx_qos_get_counter
$(printf '\r') step3 - get counter 1: pkts 0, bytes 0, speed 0 -
libkx: libkx_qos_clear_counter
$(printf '\r') step4 - clear counter 1 -
libkx: libkx_qos_delete_counter
$(printf '\r') step5 - delete counter 1 -
@@@Case 1: Result[Success] -

@@@Case 2: create counter with special ID -
libkx: libkx_qos_create_counter
$(printf '\r') step1 - create counter 1 -
libkx: libkx_qos_is_counter_created
$(printf '\r') step2 - find counter 1 -
libkx: libkx_qos_get_counter
$(printf '\r') step3 - get counter 1: pkts 0, bytes 0, speed 0 -
libkx: libkx_qos_clear_counter
$(printf '\r') step4 - clear counter 1 -
libkx: libkx_qos_delete_counter
$(printf '\r') step5 - delete counter 1 -
@@@Case 2: Result[Success] -

@@@Case 3: create rate bucket without ID -
libkx: libkx_qos_create_bucket
Error: create bucket fail (ret=6) -
@@@Case 3:  Result[Fail] -

@@@Case 4: create rate bucket with ID -
libkx: libkx_qos_create_bucket
Error: create bucket fail (ret=6) -
@@@Case 4:  Result[Fail] -

@@@Case 5: qos rule testing -
libkx: libkx_qos_add_rule
Error: add qos rule 1 fail (ret=6) -
@@@Case 5:  Result[Fail] -

@@@Case 6: qos get all rule testing -
libkx: libkx_qos_add_rule
libkx: libkx_qos_add_rule
libkx: libkx_qos_add_rule
libkx: libkx_qos_add_rule
libkx: libkx_qos_get_next_rule
libkx: libkx_qos_delete_rule
libkx: libkx_qos_delete_rule
libkx: libkx_qos_delete_rule
libkx: libkx_qos_delete_rule
@@@Case 6:  Result[Success] -

END
