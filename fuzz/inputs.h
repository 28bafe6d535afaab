// What the first bytes of the harnesses' inputs choose; the seeds are made of the same.
#ifndef FUZZ_INPUTS_H
#define FUZZ_INPUTS_H

#include <stddef.h>
#include <string_view>

// What is answered when the prepared bytes are used up.
enum class tail {
    zeros,    // success, and an empty record
    echo,     // success, and the record as it was sent: a cursor that never moves
    failure,  // -1
    positive, // 7, and the record as it was sent
    repeat,   // the prepared bytes once more: a walk that never ends
    count
};

// What happens at a step of a walk depends on the entry before it alone, so that a walk gets two entries; and a command
// as many answers as the longest that does not walk takes, but for those that ask for each of the counters.
inline constexpr int entries_enough = 2;
inline constexpr int answers_enough = 120;

// The functions that the parsers are; the first of them take a range, and the others do not look at it.
inline constexpr size_t parser_count = 17;
inline constexpr size_t parsers_with_a_range = 9;

// What kxqos-config is asked to do, on a gateway that is hostile and on one that somebody else changes; and the kinds
// of changes.
inline constexpr size_t config_verbs_of_replies = 8;
inline constexpr size_t config_verbs_of_changing = 6;
inline constexpr size_t config_changes = 6;

// The commands that the replies are for: every one that reads or that makes several requests.
inline constexpr std::string_view reading_commands[] = {
    "rule 5 profile qos show",
    "rule 5 profile 4 show",
    "rule 5 delete",
    "rule 5 action queue 1",
    "bucket show",
    "bucket 7 show",
    "bucket 7 rate 100",
    "configuration show",
    "configuration show",
    "configuration show",
    "counter show",
    "counter clear",
    "counter 9 show",
    "counter 9 enable",
    "limit show",
    "limit up mode ip",
    "limit up mode vlan",
    "limit up mode port",
    "limit up mode disable",
    "limit down add ip 10.0.0.1~10.0.0.9 rate 5",
    "limit down delete ip 10.0.0.1~10.0.0.9 rate 5",
    "limit down add ip6 2001:db8::1~2001:db8::9 rate 5",
    "limit down delete ip6 2001:db8::1~2001:db8::9 rate 5",
    "limit up add vlan 5 rate 4294967295",
    "limit up delete vlan 5 rate 0",
    "limit up add port 3 rate 1",
    "limit up delete port 3 rate 1",
    "limit up other 3 rate 1",
    "limit up add other 1 rate 1",
    "debug show",
    "debug info on",
    "debug all off",
    "debug error neither",
    "queue show",
    "test osgi 1 counter 2 show",
    "test osgi 1 counter 2 clear",
    "test host 1 counter 2 show",
    "test host 1 add 00:11:22:33:44:55 1 2 3 4 5",
    "test host 1 del 00:11:22:33:44:55 2 3",
    "test wan wan0 counter",
    "test wan wan0 rate 1 2",
    "test api",
    "reset profile lanhost",
    "qos enable",
};

#endif
