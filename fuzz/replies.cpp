// Replies: arbitrary answers to every command that reads. Input: one byte for the command, one for what is answered
// when the bytes are used up, then the answers: a control byte for each (see gateway.cpp) and the bytes of its record.
#include "gateway.h"

static constexpr std::string_view commands[] = {
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const std::string_view command = commands[data[0] % std::size(commands)];
    const auto after = static_cast<tail>(data[1] % static_cast<int>(tail::count));
    const bytes answers(data + 2, data + size);
    const std::vector<std::string> words = split(command, ' ');
    const int result = run_tool(words, answers, after);
    if (walkCut)
        return 0;
    check(result >= -1 && result <= 16, "a result that nobody gave");
    // The same answers, but for what the rules in them do not use: nothing of that is printed, and nothing of a name
    // that has no terminator beyond its field.
    const std::string printed(output());
    check(run_tool(words, answers, after, true) == result, "the result depends on unused bytes");
    check(output() == printed, "unused bytes are printed");
    return 0;
}
