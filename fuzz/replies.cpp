// Replies: arbitrary answers to every command that reads. Input: one byte for the command, one for what is answered
// when the bytes are used up, then the answers: a control byte for each (see gateway.cpp) and the bytes of its record.
#include "gateway.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const std::string_view command = reading_commands[data[0] % std::size(reading_commands)];
    const auto after = static_cast<tail>(data[1] % static_cast<int>(tail::count));
    const bytes answers(data + 2, data + size);
    const words_t &words = split(command, ' ');
    const int result = run_tool(words, answers, after);
    check(result >= -1 && result <= 16, "a result that nobody gave");
    if (!ruleReturned)
        return 0;
    // The same answers, but for what the rules in them do not use: nothing of that is printed, and nothing of a name
    // that has no terminator beyond its field.
    static std::string printed;
    printed = output();
    check(run_tool(words, answers, after, true) == result, "the result depends on unused bytes");
    check(output() == printed, "unused bytes are printed");
    return 0;
}
