// Round trip: a rule that is accepted, dumped, and its dump line typed in again, dumps the same.
// Input: one byte for the profile, one for the rule, then the words after, each ended by a NUL.
#include "gateway.h"
#include "profiles.h"

#include <algorithm>
#include <ctype.h>
#include <string.h>
#include <string>

// The line of the configuration that shows the rule.
static std::string dump_line(const kxqos_rule_t &rule)
{
    uint8_t answers[6 + sizeof rule] = {2, 0, 0, 0, 0, 2}; // the state; then the first rule
    memcpy(answers + 6, &rule, sizeof rule);
    static const words_t words = {"configuration", "show"};
    run_tool(words, answers, tail::zeros);
    const std::string_view text = output();
    const size_t begin = text.find("\nrule ");
    check(begin != std::string::npos, "a rule is missing in the dump");
    return std::string(text.substr(begin + 1, text.find('\n', begin + 1) - begin - 1));
}

// What a line of words cannot carry: names that are empty or have white space in them, and two fields that share their
// storage but not their form. And one field without an action, which is only accepted when that field is given twice,
// is less than the command asks for.
static bool fits_a_line(const kxqos_rule_t &rule)
{
    int fields = 0;
    for (const uint8_t byte : rule.fieldSel)
        fields += __builtin_popcount(byte);
    if (fields == 1 && rule.action.actionFlag == 0)
        return false;
    const char *names[] = {rule.inDev, rule.outDev, rule.wanDev};
    for (int i = 0; i < 3; i++) {
        const int field = KXQOS_MATCH_INDEV + i;
        if ((rule.fieldSel[field / 8] >> (field % 8) & 1) != 0 && *names[i] == '\0')
            return false;
        for (const char *c = names[i]; *c != '\0'; c++)
            if (isspace(static_cast<unsigned char>(*c)) != 0)
                return false;
    }
    return !shares_storage(rule);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3)
        return 0;
    const char *profile = qosProfileName[data[0] % KXQOS_PROFILE_MAX].name;
    const std::string number = std::to_string(data[1] % 64 + 1);
    static words_t words;
    words = {"rule", number, "profile", profile};
    const size_t before = words.size();
    const words_t &given = split({reinterpret_cast<const char *>(data) + 2, size - 2});
    words.insert(words.end(), given.begin(), given.end());
    if (words.size() == before || (words[before] != "match" && words[before] != "action"))
        words.insert(words.begin() + static_cast<long>(before), "match");
    if (run_tool(words, {}, tail::zeros) != 0 || !gateway.ruleAdded)
        return 0;
    const kxqos_rule_t first = gateway.rule;
    if (!fits_a_line(first))
        return 0;

    const std::string line = dump_line(first);
    check(line.size() < 2000, "a dump line is too long");
    // More words than split would give, so cut here.
    static words_t again;
    again.clear();
    for (size_t at = 0; at < line.size();) {
        const size_t end = std::min(line.find(' ', at), line.size());
        if (end != at)
            again.push_back(std::string_view(line).substr(at, end - at));
        at = end + 1;
    }
    check(run_tool(again, {}, tail::zeros) == 0 && gateway.ruleAdded, "a dump line is not taken");
    const kxqos_rule_t second = gateway.rule;
    check(dump_line(second) == line, "a dump line, typed in, dumps otherwise");

    // All but what the dump does not tell, the mask of protocol bits, is the same to the byte.
    kxqos_rule_t a = first;
    kxqos_rule_t b = second;
    a.mask.ipProtocol = b.mask.ipProtocol = 0;
    check(memcmp(&a, &b, sizeof a) == 0, "a rule, typed in from its dump, is another one");
    return 0;
}
