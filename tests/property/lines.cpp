// Lines at random, right, wrong and mangled: what the check of a file takes, and what the tool takes.
//   property-lines [--seed N] [--lines N] [--write FILE] TRANSCRIPTS
// Prints the seed, how many lines there were of each sort, and each disagreement by as little of the line as disagrees.
// --write only writes the lines into a file, for a test from outside. TRANSCRIPTS is a folder.

#include "gateway.h"
#include "losses.h"
#include "program.h"
#include "random_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

static Program tool;
static Program config;

// Words as a file has them: blanks and tabs divide them, and a line may end in CR LF.
static Lines words_of(std::string line)
{
    if (line.ends_with('\r'))
        line.pop_back();
    Lines words;
    for (size_t at = 0; (at = line.find_first_not_of(" \t", at)) != std::string::npos;) {
        const size_t end = std::min(line.find_first_of(" \t", at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

// What the tool does with a line

enum class Sort {
    taken,
    refused,          // by the tool
    not_configuring,  // it shows, tests or clears
    with_a_complaint, // it is done, and the tool says that something is wrong with it
    last_word_lost,   // it would do the same without its last word
    part_lost,        // it would do the same without a part of a word, or with another value of it
    deletes_nothing,  // a limit that is not there
    not_brought_back, // a rule whose line in the dump makes another
    count
};

static const char *const sorts[] = {"taken",
                                    "refused by the tool",
                                    "not configuring",
                                    "done with a complaint",
                                    "with a word that is ignored",
                                    "with a part that is ignored",
                                    "deleting a limit that is not there",
                                    "making a rule that would not come back"};

// What configures, as requests.
static bool configures(const Event &event)
{
    static const std::set<uint32_t> requests = {
        KXQOS_DEBUG_SET,     KXQOS_BUCKET_SET,        KXQOS_BUCKET_DELETE,   KXQOS_RULE_ADD,  KXQOS_RULE_DELETE,
        KXQOS_RULE_RESET,    KXQOS_RATE_LIMIT_SET,    KXQOS_COUNTER_DISABLE, KXQOS_STATE_SET, KXQOS_COUNTER_ENABLE,
        KXQOS_PURE_DSCP_SET, KXQOS_FINE_CLASSIFY_SET, KXQOS_REFRESH_SET};
    return requests.contains(event.request);
}

// On a gateway that was just switched on, but for the modes of its limits.
static Ran type(const Lines &words, uint8_t mode)
{
    switch_on();
    world.module.limits[0].mode = world.module.limits[1].mode = mode;
    start_events();
    return run_program(tool, words);
}

static bool sent(uint32_t request)
{
    return std::any_of(events.begin(), events.end(), [&](const Event &e) { return e.request == request; });
}

// Whether the tool does the same without the last word. Rules use all of their words.
static bool loses_last_word(Lines words, uint8_t mode)
{
    if (!sent(KXQOS_BUCKET_SET) && !sent(KXQOS_RATE_LIMIT_SET) && !sent(KXQOS_DEBUG_SET))
        return false;
    const model with = world.module;
    const size_t requests = events.size();
    words.pop_back();
    return type(words, mode).status == 0 && events.size() == requests && memcmp(&with, &world.module, sizeof with) == 0;
}

static kxqos_rule_t rule_alone(const std::string &keyword, const std::string &value)
{
    type({"rule", "1", "match", keyword, value, "action", "queue", "1"}, RATELIMIT_MODE_DISABLE);
    return world.module.rules[0];
}

// Whether the rule that was just added is another once its line in the dump is typed into a new gateway.
static bool is_not_brought_back(uint8_t mode)
{
    if (!sent(KXQOS_RULE_ADD))
        return false;
    const model with = world.module;
    const std::string shown = run_program(tool, {"configuration", "show"}).output;
    const size_t start = shown.find("rule ");
    type(words_of(shown.substr(start, shown.find('\n', start) - start)), mode);
    return memcmp(&with, &world.module, sizeof with) != 0;
}

static Sort sort_on(const Lines &words, uint8_t mode)
{
    const Ran ran = type(words, mode);
    if (ran.status != 0)
        return Sort::refused;
    if (std::none_of(events.begin(), events.end(), configures))
        return Sort::not_configuring;
    if (!ran.output.empty() && ran.output != "add to a free entry 0\n")
        return Sort::with_a_complaint;
    kxqos_rl_t before[2] = {};
    before[1].upDir = 1;
    before[0].mode = before[1].mode = mode;
    if (sent(KXQOS_RATE_LIMIT_SET) && memcmp(before, world.module.limits, sizeof before) == 0)
        return Sort::deletes_nothing;
    if (is_not_brought_back(mode))
        return Sort::not_brought_back;
    if (loses_last_word(words, mode))
        return Sort::last_word_lost;
    return loses_part(words, rule_alone) ? Sort::part_lost : Sort::taken;
}

// A mode that the gateway has already is not sent, so there are two gateways.
static Sort sort_of(const std::string &line)
{
    const Lines words = words_of(line);
    const Sort sort = sort_on(words, RATELIMIT_MODE_DISABLE);
    return sort == Sort::not_configuring ? sort_on(words, RATELIMIT_MODE_VLAN) : sort;
}

// What the tool is not asked about: a comment, a mark, or nothing at all.
static bool is_no_command(const std::string &line)
{
    const Lines words = words_of(line);
    return words.empty() || words[0][0] == '#' || (words.size() == 1 && words[0] == "!");
}

// Null, or how the check of a file of this line disagrees with the tool.
static const char *disagreement(const std::string &line, Sort sort)
{
    const Ran ran = run_program(config, {"check", "-"}, line + "\n");
    if (ran.status == 0)
        return sort == Sort::taken ? nullptr : "is taken";
    if (ran.status != 2 || !ran.errors.starts_with("kxqos-config: standard input:1: "))
        return "is not refused with its place";
    return sort == Sort::taken ? "is refused" : nullptr;
}

// Lines

struct Source {
    Lines commands; // of the transcripts
    Lines words;
};

static void take_transcript(const std::filesystem::path &path, Source *source)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t at = line.find("kxqosctl ");
        if (!line.starts_with("$ ") || at == std::string::npos)
            continue;
        line = line.substr(at + 9);
        std::erase(line, '\'');
        source->commands.push_back(line);
        for (const std::string &word : words_of(line))
            source->words.push_back(word);
    }
}

static Source read_transcripts(const std::string &folder)
{
    Source source;
    std::vector<std::filesystem::path> paths;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.path().extension() == ".transcript")
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end()); // the same lines for the same seed
    for (const std::filesystem::path &path : paths)
        take_transcript(path, &source);
    return source;
}

static std::string joined(const Lines &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

static std::string mangle_words(const std::string &line, const Source &source, Random *random)
{
    Lines words = words_of(line);
    if (words.empty())
        return line;
    const auto at = words.begin() + static_cast<long>(random->upTo(words.size() - 1));
    switch (random->upTo(5)) {
    case 0:
        words.erase(at);
        break;
    case 1:
        words.insert(at, *at);
        break;
    case 2:
        std::swap(*at, words.back());
        break;
    case 3:
        words.insert(at + 1, random->pick(source.words));
        break;
    case 4:
        *at = random_value(random);
        break;
    default:
        *at = random->pick(source.words);
        break;
    }
    return joined(words);
}

// A line that is taken and says more than the tool uses, or looks so.
static std::string overfill(const std::string &line, Random *random)
{
    static const Lines ends = {"junk", "/24",    "/32",       "/0",           "/",
                               "~",    "/0x1ff", "/0xff",     "~9",           "/ff:ff:ff:ff:ff:ff",
                               "/::",  "5",      "~10.0.0.9", "/255.255.0.0", "00000000000000000000"};
    static const Lines twins = {"sport", "esport", "dmac",  "edmac",    "sip",
                                "esip",  "sip6",   "esip6", "protocol", "protocols"};
    Lines words = words_of(line);
    if (words.size() < 4)
        return line;
    const size_t at = 1 + random->upTo(words.size() - 2);
    std::string &word = words[at];
    const bool number = isdigit(static_cast<unsigned char>(word[0])) != 0;
    switch (random->upTo(5)) {
    case 0: // a pair twice
        words.insert(words.begin() + static_cast<long>(at) - 1, {words[at - 1], words[at]});
        break;
    case 1:
        if (number && word.find_first_not_of("0123456789") == std::string::npos && word.size() < 11)
            word = std::to_string((random->once(3) ? 0xFFFFFFFF00000000ULL : 1ULL << 32 << random->upTo(20)) +
                                  std::stoull(word));
        break;
    case 2:
        word += random->pick(ends);
        break;
    case 3:
        word.insert(0, random->pick(Lines{"!", "-", "\f", "0", "00000000000"}));
        break;
    case 4: { // another for a field's place, with its value or any
        const auto match = std::find(words.begin(), words.end(), "match");
        if (words.end() - match > 3)
            words.insert(match + 3, {random->pick(twins), random->once(2) ? *(match + 2) : random_value(random)});
        break;
    }
    default: // its last word twice, with the one before
        words.insert(words.end(), {words[words.size() - 2], words.back()});
        break;
    }
    return joined(words);
}

static char random_byte(Random *random)
{
    static const std::string marks = "!~/.:-+x0129afF \t,#";
    if (!random->once(4))
        return random->pick(marks);
    const auto byte = static_cast<char>(1 + random->upTo(254));
    return byte == '\n' ? '\r' : byte;
}

static std::string mangle_bytes(std::string line, Random *random)
{
    if (line.empty())
        return line;
    const size_t at = random->upTo(line.size() - 1);
    switch (random->upTo(3)) {
    case 0:
        line.erase(at, 1 + random->upTo(3));
        break;
    case 1:
        line.insert(at, 1 + (random->once(9) ? random->upTo(20) : 0), random_byte(random));
        break;
    default:
        line[at] = random_byte(random);
        break;
    }
    return line;
}

static std::string right_line(const Source &source, Random *random)
{
    static Lines left;
    if (random->once(3))
        return random->pick(source.commands);
    if (left.empty())
        left = lines_of(random_setup(random), random);
    std::string line = left.back();
    left.pop_back();
    return line;
}

static std::string random_line(const Source &source, Random *random)
{
    std::string line = right_line(source, random);
    if (random->once(3))
        return line;
    if (random->once(3))
        return overfill(line, random);
    for (uint64_t left = 1 + random->upTo(2); left > 0; left--)
        line = random->once(2) ? mangle_words(line, source, random) : mangle_bytes(line, random);
    return line;
}

// As little of the line as disagrees in the same way
static std::string shrunk(std::string line, const char *how)
{
    for (size_t size = line.size(); size > 0; size--) {
        for (size_t at = 0; at + size <= line.size();) {
            std::string less = line;
            less.erase(at, size);
            const char *still = is_no_command(less) ? nullptr : disagreement(less, sort_of(less));
            if (still != nullptr && strcmp(still, how) == 0)
                line = less;
            else
                at++;
        }
    }
    return line;
}

static int write_lines(const std::string &name, const Source &source, uint64_t count, Random *random)
{
    std::ofstream file(name);
    for (uint64_t i = 0; i < count; i++)
        file << random_line(source, random) << "\n";
    return file.flush() ? 0 : 2;
}

static size_t check_lines(const Source &source, uint64_t count, Random *random)
{
    size_t sorted[static_cast<int>(Sort::count)] = {};
    std::set<std::string> told;
    size_t wrong = 0;
    for (uint64_t i = 0; i < count;) {
        const std::string line = random_line(source, random);
        if (is_no_command(line))
            continue;
        i++;
        const Sort sort = sort_of(line);
        sorted[static_cast<int>(sort)]++;
        const char *how = disagreement(line, sort);
        if (how == nullptr)
            continue;
        wrong++;
        const std::string least = told.size() < 50 ? shrunk(line, how) : "";
        if (!least.empty() && told.insert(least).second)
            printf("FAILED: %s, and %s: %s\n", sorts[static_cast<int>(sort_of(least))], how, least.c_str());
    }
    for (int i = 0; i < static_cast<int>(Sort::count); i++)
        printf("%9zu %s\n", sorted[i], sorts[i]);
    return wrong + static_cast<size_t>(std::count(std::begin(sorted), std::end(sorted), 0U));
}

int main(int argc, char **argv)
{
    uint64_t seed = std::random_device()();
    uint64_t count = 100000;
    std::string name;
    int i = 1;
    for (; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--seed")
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--lines")
            count = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--write")
            name = argv[i + 1];
    }
    if (i >= argc) {
        fprintf(stderr, "property-lines [--seed N] [--lines N] [--write FILE] TRANSCRIPTS\n");
        return 2;
    }
    const Source source = read_transcripts(argv[i]);
    Random random(seed);
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    fflush(stdout);
    if (!name.empty())
        return write_lines(name, source, count, &random);
    tool = load_program("property-tool.so");
    config = load_program("property-config.so");
    const size_t wrong = check_lines(source, count, &random);
    printf("%llu lines, %zu disagreements\n", static_cast<unsigned long long>(count), wrong);
    return wrong == 0 ? 0 : 1;
}
