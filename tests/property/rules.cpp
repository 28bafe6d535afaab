// Rules made at random of whatever the tool takes: each comes back to the same bytes from its line in a saved file, or
// is refused by name.
//   property-rules [--seed N] [--rules N]
// Prints the seed, how many rules there were of each sort, and the first that fails, by as few of its words as fail.

#include "gateway.h"
#include "made_states.h"
#include "program.h"
#include "random_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>

using Lines = std::vector<std::string>;

static Program tool;
static Program config;

static Ran run(const Program &program, const Lines &words, const std::string &input = "")
{
    start_events();
    return run_program(program, words, input);
}

// The only rule that the gateway holds; its number is 0 when there is none. Hits are the module's.
static kxqos_rule_t only_rule()
{
    kxqos_rule_t found = {};
    for (const kxqos_rule_t &rule : world.module.rules)
        if (rule.rule_id != 0)
            found = rule;
    found.counter = 0;
    return found;
}

static bool same(const kxqos_rule_t &a, const kxqos_rule_t &b)
{
    return memcmp(reinterpret_cast<const char *>(&a), reinterpret_cast<const char *>(&b), sizeof a) == 0;
}

// Types the lines of a text with the tool into a new gateway, whatever comes of each. Gives the rule that is there
// then.
static kxqos_rule_t typed_back(const std::string &text)
{
    switch_on();
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        Lines words;
        for (size_t at = 0; (at = line.find_first_not_of(" \t", at)) != std::string::npos;) {
            const size_t end = std::min(line.find_first_of(" \t", at), line.size());
            words.push_back(line.substr(at, end - at));
            at = end;
        }
        if (!words.empty() && words[0] == "rule")
            run(tool, words);
    }
    return only_rule();
}

// Whether a file can have the command as its line.
static bool fits_line(const Lines &words)
{
    return std::none_of(words.begin(), words.end(), [](const std::string &word) {
        return word.empty() || word.find_first_of(" \t\n") != std::string::npos;
    });
}

static std::string joined(const Lines &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + word;
    return line + "\n";
}

// What became of a rule

enum Sort { comes_back, refused, sorts };

struct Fate {
    Sort sort;
    std::set<std::string> states;
    const char *wrong; // null when all holds
};

static const std::string lost = " would not come back equal: ";

// Why save refuses the rule, or nothing; and whether it says so as it should.
static std::optional<std::string> refusal(const kxqos_rule_t &rule, const Ran &strict, const Ran &lossy)
{
    static const char *const profiles[] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
    const std::string name =
        "kxqos-config: rule " + std::to_string(rule.rule_id) + " profile " + profiles[rule.table_id] + lost;
    if (strict.status == 0)
        return strict.errors.empty() && strict.output == lossy.output && lossy.errors.empty()
                   ? std::optional<std::string>("")
                   : std::nullopt;
    const bool named = strict.status == 1 && strict.output.empty() && lossy.status == 0 &&
                       lossy.errors.starts_with(name) && lossy.errors.size() > name.size() + 1 &&
                       lossy.errors.find('\n') == lossy.errors.size() - 1 &&
                       strict.errors == lossy.errors + "kxqos-config: nothing is saved\n" &&
                       lossy.output.find("\nrule ") == std::string::npos;
    return named ? std::optional<std::string>(lossy.errors.substr(name.size())) : std::nullopt;
}

// A file with the command as its line: what check takes comes back, and it gives the reason that save would.
static const char *wrong_check(const Lines &words, const std::string &reason)
{
    if (!fits_line(words))
        return nullptr;
    const Ran check = run(config, {"check", "-"}, joined(words));
    if (check.status == 0)
        return reason.empty() ? nullptr : "check takes what save refuses";
    if (check.status != 2 || !check.errors.starts_with("kxqos-config: standard input:1: "))
        return "check refuses it without its place";
    const size_t at = check.errors.find(lost.substr(1));
    if (at == std::string::npos)
        return nullptr; // refused for what it loses; other tests look at that
    const std::string why = reason.substr(0, reason.size() - 1);
    return !reason.empty() && check.errors.compare(at + lost.size() - 1, why.size(), why) == 0
               ? nullptr
               : "check does not give the reason that save gives";
}

// Nothing when the tool refuses the command.
static std::optional<Fate> fate_of(const Lines &words)
{
    switch_on();
    if (run(tool, words).status != 0 || count_changes() != 1)
        return std::nullopt;
    const kxqos_rule_t rule = only_rule();
    const std::string shown = run(tool, {"configuration", "show"}).output;
    const Ran strict = run(config, {"save", "-"});
    const Ran lossy = run(config, {"save", "--lossy", "-"});
    Fate fate = {comes_back, states_of(rule), nullptr};
    const std::optional<std::string> reason = refusal(rule, strict, lossy);
    if (!reason) {
        fate.wrong = "save neither saves it nor refuses it by name";
        return fate;
    }
    fate.sort = reason->empty() ? comes_back : refused;
    // Its line would come back, but check refuses such a line for what it loses.
    const bool ignored = reason->find(" would be ignored") != std::string::npos;
    if (fate.sort == comes_back && !same(typed_back(strict.output), rule))
        fate.wrong = "it is saved, and does not come back to the same bytes";
    else if (fate.sort == refused && !ignored && same(typed_back(shown), rule))
        fate.wrong = "it is refused, and would come back to the same bytes";
    else if (!ignored && (fate.sort == refused) == fate.states.empty())
        fate.wrong = "the round-trip tests know otherwise";
    else
        fate.wrong = wrong_check(words, *reason);
    return fate;
}

// Commands

static Lines random_command(Random *random)
{
    static const char *const profiles[] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
    Lines words = {"rule", std::to_string(1 + random->upTo(63)), "profile", random->pick(profiles)};
    std::istringstream stream(random_rule(random));
    Lines rest;
    for (std::string word; stream >> word;)
        rest.push_back(word);
    if (rest[0] == "match")
        rest.erase(rest.begin());
    words.push_back("match");
    for (uint64_t left = random->upTo(3); left > 0; left--) {
        const auto [keyword, value] = random_match(random);
        words.insert(words.end(), {keyword, value});
        if (random->once(8))
            words.insert(words.end(), {keyword, value});
    }
    if (words.size() > 5 && random->once(2))
        rest.erase(rest.begin(), std::find(rest.begin(), rest.end(), "action"));
    if (random->once(6) && !rest.empty())
        rest.erase(std::find(rest.begin(), rest.end(), "action") + 1, rest.end());
    words.insert(words.end(), rest.begin(), rest.end());
    return words;
}

// As few of the words as fail in the same way
static Lines shrunk(Lines words, const char *wrong)
{
    for (size_t size : {2, 1}) {
        for (size_t at = 4; at + size <= words.size();) {
            Lines less = words;
            less.erase(less.begin() + static_cast<long>(at), less.begin() + static_cast<long>(at + size));
            const std::optional<Fate> fate = fate_of(less);
            if (fate && fate->wrong != nullptr && strcmp(fate->wrong, wrong) == 0)
                words = less;
            else
                at++;
        }
    }
    return words;
}

static int report(const Lines &words, const char *wrong)
{
    printf("FAILED: %s: kxqosctl", wrong);
    for (const std::string &word : shrunk(words, wrong))
        printf(" '%s'", word.c_str());
    printf("\n");
    return 1;
}

// A command for each state that commands make, and for no other.
static const struct {
    const char *state;
    Lines words;
} examples[] = {
    {"no action and fewer than two match fields", {"match", "vid", "7", "vid", "7", "action"}},
    {"a range that ends before it begins", {"match", "sport", "5~9", "esport", "100/3", "action", "queue", "1"}},
    {"an IPv6 range that varies more than its last 16 bits",
     {"match", "sip6", "::5~::9", "esip6", "::/64", "action", "queue", "1"}},
    {"an address with bits outside its mask",
     {"match", "esip", "10.0.0.0/8", "sip", "10.0.0.5~10.0.0.9", "action", "queue", "1"}},
    {"a mask of protocols other than 255", {"match", "protocols", "5/7", "action", "queue", "1"}},
    {"an empty interface name that is not inverse", {"match", "indev", "", "action", "queue", "1"}},
    {"an interface name with a blank in it", {"match", "outdev", "x vid 7", "action", "queue", "1"}},
};

static int check_examples()
{
    std::set<std::string> unseen = made_states();
    for (const auto &[state, rest] : examples) {
        Lines words = {"rule", "5"};
        words.insert(words.end(), rest.begin(), rest.end());
        const std::optional<Fate> fate = fate_of(words);
        if (!fate || fate->sort != refused || fate->states != std::set<std::string>{state})
            return report(words, "it does not make its state");
        if (fate->wrong != nullptr)
            return report(words, fate->wrong);
        unseen.erase(state);
    }
    for (const std::string &state : unseen)
        printf("FAILED: no example of: %s\n", state.c_str());
    return unseen.empty() ? 0 : 1;
}

static int check_rules(uint64_t count, Random *random)
{
    uint64_t sorted[sorts] = {};
    for (uint64_t i = 0; i < count;) {
        const Lines words = random_command(random);
        const std::optional<Fate> fate = fate_of(words);
        if (!fate)
            continue;
        i++;
        sorted[fate->sort]++;
        for (const std::string &state : fate->states)
            if (!made_states().contains(state))
                return report(words, "a command makes what none should");
        if (fate->wrong != nullptr)
            return report(words, fate->wrong);
    }
    printf("%llu rules: %llu come back, %llu are refused by name\n", static_cast<unsigned long long>(count),
           static_cast<unsigned long long>(sorted[comes_back]), static_cast<unsigned long long>(sorted[refused]));
    return sorted[comes_back] > count / 2 && sorted[refused] > count / 40 ? 0 : 1; // of each enough to mean something
}

int main(int argc, char **argv)
{
    uint64_t seed = std::random_device()();
    uint64_t count = 20000;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--seed")
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--rules")
            count = std::strtoull(argv[i + 1], nullptr, 10);
    }
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    fflush(stdout);
    tool = load_program("property-tool.so");
    config = load_program("property-config.so");
    Random random(seed);
    return check_examples() != 0 ? 1 : check_rules(count, &random);
}
