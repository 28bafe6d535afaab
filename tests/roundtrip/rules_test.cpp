// Rules typed back from the dump: the same again, unless they are in a state that the dump cannot express. Accepted
// commands make some of these; the property tests look which.
#include "gateway.h"
#include "rule_states.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>

namespace {

constexpr std::array<int, KXQOS_PROFILE_MAX> highest_rule = {KXQOS_PROFILES(KXQOS_HIGHEST_RULE)};
constexpr size_t all_rules = KXQOS_ALL_RULES;

// Gives the rules their places, profile after profile.
void number_rules(std::vector<kxqos_rule_t> &rules)
{
    int profile = 0;
    int number = 0;
    for (kxqos_rule_t &rule : rules) {
        if (++number > highest_rule.at(static_cast<size_t>(profile))) {
            profile++;
            number = 1;
        }
        rule.table_id = static_cast<uint16_t>(profile);
        rule.rule_id = static_cast<uint16_t>(number);
    }
}

void load(const Gateway &gateway, const std::vector<kxqos_rule_t> &rules)
{
    std::vector<Answer> requests;
    requests.reserve(rules.size());
    for (const kxqos_rule_t &rule : rules)
        requests.push_back(request(KXQOS_RULE_ADD, rule));
    for (const Answer &answer : gateway.send(requests))
        ASSERT_EQ(answer.result, 0);
}

std::string in_words(const std::set<std::string> &names)
{
    std::string words;
    for (const std::string &name : names)
        words += (words.empty() ? "" : ", ") + name;
    return words.empty() ? "no state that the dump cannot express" : words;
}

std::string in_hex(const kxqos_rule_t &rule)
{
    std::string text;
    for (char byte : request(0, rule).payload) {
        std::array<char, 3> digits = {};
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += digits.data();
    }
    return text;
}

// Every field in every form, with the extremes of its values.
std::vector<kxqos_rule_t> every_form(Random &random)
{
    std::vector<kxqos_rule_t> rules;
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        for (bool range : {false, true}) {
            for (bool inverse : {false, true}) {
                for (Extreme extreme : {Extreme::lowest, Extreme::highest, Extreme::none}) {
                    kxqos_rule_t rule = {};
                    set_field(rule, field, range, inverse, extreme, random);
                    rule.action.queue = static_cast<uint16_t>(random.pick(8));
                    rule.action.actionFlag = 1;
                    rules.push_back(rule);
                }
            }
        }
    }
    return rules;
}

// Loads the rules, types their dump back, and expects each rule to have come back just when it is in no such state.
void expect_just_the_others_back(const std::vector<kxqos_rule_t> &rules)
{
    Gateway gateway;
    load(gateway, rules);
    Dump first = gateway.dump();
    ASSERT_EQ(first.rules().size(), rules.size());
    for (const kxqos_rule_t &rule : rules)
        ASSERT_TRUE(same(first.rules().at({rule.table_id, rule.rule_id}), rule))
            << "the module changed " << in_hex(rule);
    gateway.reboot();
    gateway.type(first.commands());
    auto typed = gateway.dump().rules();
    for (const kxqos_rule_t &rule : rules) {
        auto found = typed.find({rule.table_id, rule.rule_id});
        bool came_back = found != typed.end() && same(found->second, rule);
        std::set<std::string> names = states_not_brought_back(rule);
        EXPECT_EQ(came_back, names.empty()) << in_words(names) << "\n" << in_hex(rule);
    }
}

} // namespace

// typed.txt holds commands as people type them.
TEST(Rules, AsTyped)
{
    std::ifstream file("typed.txt");
    Lines commands;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#')
            commands.push_back(line);
    }
    ASSERT_GT(commands.size(), 100U);
    Gateway gateway;
    std::vector<int> statuses = gateway.type(commands);
    ASSERT_EQ(statuses.size(), commands.size());
    for (size_t i = 0; i < commands.size(); i++)
        EXPECT_EQ(statuses[i], 0) << commands[i];
    expect_round_trip(gateway);
}

TEST(Rules, EveryTableFull)
{
    Random random{1};
    std::vector<kxqos_rule_t> rules = every_form(random);
    while (rules.size() < all_rules) {
        kxqos_rule_t rule = random_rule(random);
        if (states_not_brought_back(rule).empty())
            rules.push_back(rule);
    }
    ASSERT_EQ(rules.size(), all_rules);
    number_rules(rules);
    Gateway gateway;
    load(gateway, rules);
    ASSERT_EQ(gateway.dump().rules().size(), all_rules);
    expect_round_trip(gateway);
}

// One example of each state, which is in no other: each name is needed.
TEST(Rules, EachNamedStateCannotBeExpressedByTheDump)
{
    std::vector<kxqos_rule_t> rules;
    for (const RuleState &state : rule_states()) {
        rules.push_back(state.example());
        EXPECT_EQ(states_not_brought_back(rules.back()), std::set<std::string>{state.name});
    }
    number_rules(rules);
    expect_just_the_others_back(rules);
}

// Rules of all sorts, two in three with a bit or two of them changed: there is no other state.
TEST(Rules, EveryOtherStateIsExpressedByTheDump)
{
    Random random{2};
    std::vector<kxqos_rule_t> rules;
    size_t brought_back = 0;
    while (rules.size() < all_rules) {
        kxqos_rule_t rule = random_rule(random);
        for (uint32_t flips = random.pick(3); flips > 0; flips--)
            spoil(rule, random);
        brought_back += states_not_brought_back(rule).empty() ? 1 : 0;
        rules.push_back(rule);
    }
    ASSERT_GT(brought_back, all_rules / 4);
    ASSERT_LT(brought_back, all_rules / 4 * 3);
    number_rules(rules);
    expect_just_the_others_back(rules);
}
