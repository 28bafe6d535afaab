#include "gateway.h"

#include "process.h"
#include "text.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

std::string setting(const char *name)
{
    const char *value = std::getenv(name);
    if (value == nullptr)
        throw std::runtime_error(std::string(name) + " is not set; ctest sets it");
    return value;
}

template <typename Record> Record record_of(const Answer &answer)
{
    Record record;
    if (answer.payload.size() != sizeof record)
        throw std::runtime_error("a payload of another size than its record's");
    std::memcpy(&record, answer.payload.data(), sizeof record);
    return record;
}

// Where the halves of a table meet.
void copy_half(kxqos_rl_t &database, const kxqos_rl_ioctl_t &half)
{
    size_t part = half.secondPart;
    std::memcpy(&database.ipRule[part * KXQOS_RL_IP_ENTRIES / 2], half.ipRule, sizeof half.ipRule);
    std::memcpy(&database.vlanRule[part * KXQOS_RL_VLAN_ENTRIES / 2], half.vlanRule, sizeof half.vlanRule);
    std::memcpy(&database.portRule[part * KXQOS_RL_PORT_ENTRIES / 2], half.portRule, sizeof half.portRule);
}

} // namespace

Lines Dump::commands() const
{
    Lines commands;
    for (const std::string &line : split(text, '\n')) {
        if (line != "!")
            commands.push_back(line);
    }
    return commands;
}

std::map<std::pair<int, int>, kxqos_rule_t> Dump::rules() const
{
    std::map<std::pair<int, int>, kxqos_rule_t> rules;
    for (const Answer &answer : answers) {
        if (answer.number == KXQOS_RULE_NEXT && answer.result == 0) {
            auto rule = record_of<kxqos_rule_t>(answer);
            if (rule.rule_id != 0)
                rules[{rule.table_id, rule.rule_id}] = rule;
        }
    }
    return rules;
}

std::vector<kxqos_rl_t> Dump::limits() const
{
    std::vector<kxqos_rl_t> databases(2);
    for (const Answer &answer : answers) {
        if (answer.number == KXQOS_RATE_LIMIT_GET) {
            auto half = record_of<kxqos_rl_ioctl_t>(answer);
            kxqos_rl_t &database = databases.at(half.upDir);
            database.upDir = half.upDir;
            database.mode = half.mode;
            copy_half(database, half);
        }
    }
    return databases;
}

std::vector<Answer> database_requests(const kxqos_rl_t &database)
{
    std::vector<Answer> requests;
    for (size_t part = 0; part < 2; part++) {
        kxqos_rl_ioctl_t half = {};
        half.upDir = database.upDir;
        half.mode = database.mode;
        half.secondPart = static_cast<uint8_t>(part);
        std::memcpy(half.ipRule, &database.ipRule[part * KXQOS_RL_IP_ENTRIES / 2], sizeof half.ipRule);
        std::memcpy(half.vlanRule, &database.vlanRule[part * KXQOS_RL_VLAN_ENTRIES / 2], sizeof half.vlanRule);
        std::memcpy(half.portRule, &database.portRule[part * KXQOS_RL_PORT_ENTRIES / 2], sizeof half.portRule);
        requests.push_back(request(KXQOS_RATE_LIMIT_SET, half));
    }
    return requests;
}

Gateway::Gateway() : folder((std::filesystem::temp_directory_path() / "roundtrip.XXXXXX").string())
{
    if (mkdtemp(folder.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    reboot();
}

Gateway::~Gateway()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

// Gives what was printed. A launcher or a driver that fails is an error of the test's own.
std::string Gateway::run(const Lines &words, const std::string &input) const
{
    Command command;
    command.words = {setting("KXQOS_LAB"), "--state", folder + "/state"};
    command.words.insert(command.words.end(), words.begin(), words.end());
    command.standard_input = folder + "/input";
    command.captures_errors = false;
    std::ofstream(command.standard_input, std::ios::binary) << input;
    Outcome outcome = ::run(command);
    if (outcome.status != 0)
        throw std::runtime_error("the lab failed: " + words.back());
    return outcome.output;
}

void Gateway::reboot() const
{
    run({"--reboot"}, "");
}

std::vector<int> Gateway::type(const Lines &commands) const
{
    std::string input;
    for (const std::string &command : commands)
        input += command + "\n";
    std::vector<int> statuses;
    for (const std::string &line :
         split(run({"--", setting("KXQOS_DRIVER"), "type", setting("KXQOS_TOOL")}, input), '\n'))
        statuses.push_back(std::stoi(line));
    return statuses;
}

std::vector<Answer> Gateway::send(const std::vector<Answer> &requests) const
{
    std::string input;
    for (const Answer &request : requests)
        input += std::to_string(request.number) + " " + to_hex(request.payload) + "\n";
    Lines lines = split(run({"--", setting("KXQOS_DRIVER"), "send"}, input), '\n');
    std::vector<Answer> answers;
    for (size_t i = 0; i < requests.size(); i++) {
        Lines words = split(lines.at(i), ' ');
        answers.push_back({requests[i].number, std::stoi(words.at(0)), from_hex(words.at(1)).value()});
    }
    return answers;
}

Dump Gateway::dump() const
{
    std::string trace = folder + "/trace";
    std::filesystem::remove(trace);
    Dump dump;
    dump.text = run({"--trace", trace, "--", setting("KXQOS_TOOL"), "configuration", "show"}, "");
    // "request NR = RESULT sent HEX returned HEX"
    for (const std::string &line : split(contents(trace), '\n')) {
        Lines words = split(line, ' ');
        if (words.at(0) == "request")
            dump.answers.push_back({std::stoi(words.at(1)), std::stoi(words.at(3)), from_hex(words.at(7)).value()});
    }
    return dump;
}

void expect_round_trip(const Gateway &gateway)
{
    Dump first = gateway.dump();
    Lines commands = first.commands();
    gateway.reboot();
    std::vector<int> statuses = gateway.type(commands);
    ASSERT_EQ(statuses.size(), commands.size());
    for (size_t i = 0; i < commands.size(); i++)
        EXPECT_EQ(statuses[i], 0) << commands[i];
    Dump second = gateway.dump();
    EXPECT_EQ(second.text, first.text);
    EXPECT_TRUE(second.answers == first.answers) << "the module's records differ";
}
