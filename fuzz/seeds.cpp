// What a harness begins with: the words and the records of the transcripts, each in the form of its input.
//
//   seeds FOLDER HARNESS TRANSCRIPT...
//
// Leaves the inputs in FOLDER. What a harness takes is told where it begins. As "typed" it leaves words alone, for a
// fuzzer of the whole tool.
#include "inputs.h"
#include "text.h"
#include "transcript.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>

namespace {

using Inputs = std::set<std::string>;

struct Seeds {
    Inputs words;
    Inputs replies;
    Inputs parsers;
    Inputs roundtrip;
    Inputs files;
    Inputs configReplies;
    Inputs configChanging;
    Inputs typed;
    Inputs records; // that are among the replies
};

struct Harness {
    const char *name;
    Inputs Seeds::*inputs;
};

constexpr Harness harnesses[] = {
    {"words", &Seeds::words},
    {"replies", &Seeds::replies},
    {"parsers", &Seeds::parsers},
    {"roundtrip", &Seeds::roundtrip},
    {"config_files", &Seeds::files},
    {"config_replies", &Seeds::configReplies},
    {"config_changing", &Seeds::configChanging},
    {"typed", &Seeds::typed},
};

// A longer input is cut off by the harnesses' driver.
constexpr size_t longest = 2000;

void add(const std::string &input, Inputs &inputs)
{
    if (input.size() <= longest)
        inputs.insert(input);
}

std::string byte(size_t value)
{
    return std::string(1, static_cast<char>(value));
}

std::string ended(const Words &words, size_t first = 0)
{
    std::string text;
    for (size_t i = first; i < words.size(); i++)
        text += words[i] + '\0';
    return text;
}

// A ">" line's request as the bytes of its record; empty for the call of a function, or when any bytes will do.
std::string record_of(const std::string &sent)
{
    const Words words = split(sent, ' ');
    const long size = words.size() > 1 ? to_number(words[1]) : none;
    if (to_number(words[0]) == none || size == none)
        return {};
    std::string record(static_cast<size_t>(size), '\0');
    for (size_t i = 2; i < words.size() && words[i] != "*"; i++) {
        const Words parts = split(words[i], ':');
        const std::string bytes = *from_hex(parts[1]);
        record.replace(static_cast<size_t>(to_number(parts[0])), bytes.size(), bytes);
    }
    return record;
}

// On a gateway where all goes well, and on one where nothing does.
void add_words(const Step &step, Seeds &seeds)
{
    for (const tail answers : {tail::zeros, tail::failure})
        add(byte(static_cast<size_t>(answers)) + ended(step.words), seeds.words);
    add(ended(step.words), seeds.typed);
}

// The command as a file of one line.
void add_file(const Step &step, Seeds &seeds)
{
    add(ended(step.words) + '\n', seeds.files);
}

// A rule's words after its number and its profile, which the harness writes itself.
void add_rule(const Step &step, Seeds &seeds)
{
    const Words &words = step.words;
    if (words.size() < 3 || !words[0].starts_with("ru"))
        return;
    const size_t first = words[2].starts_with("pro") ? 4 : 2;
    if (first < words.size())
        add(byte(0) + byte(4) + ended(words, first), seeds.roundtrip); // in the first profile, rule 5
}

// A value into each parser, with the range of a field, and with one that many values are beyond.
void add_value(const std::string &value, Seeds &seeds)
{
    for (size_t parser = 0; parser < parser_count; parser++)
        add(byte(parser) + std::string("\xFF\xFF\0\0\0", 5) + value, seeds.parsers);
    for (size_t parser = 0; parser < parsers_with_a_range; parser++)
        add(byte(parser) + std::string("\x0A\0\0\0\1", 5) + value, seeds.parsers);
}

// Whatever may be a number or an address, and each side of the marks in it.
void add_values(const Step &step, Seeds &seeds)
{
    for (const std::string &word : step.words) {
        if (word.find_first_of("0123456789:") == std::string::npos)
            continue;
        add_value(word, seeds);
        for (const char mark : {'~', '/', '!'})
            for (const std::string &part : split(word, mark))
                add_value(part, seeds);
    }
}

// Answers to each command that reads such records, from its first request on and after as many as it makes before it
// reads one: a control byte of 0 comes before a record, and one of 1 answers with what was asked.
void add_answers(const std::string &answers, std::string_view reader, Seeds &seeds)
{
    for (size_t number = 0; number < std::size(reading_commands); number++)
        if (reading_commands[number].starts_with(reader))
            for (const size_t before : {0, 1, 3})
                add(byte(number) + byte(0) + std::string(before, '\1') + answers, seeds.replies);
}

// What a transcript sends, read back: the records of one size one after the other, as many as an input holds.
void add_records(const Transcript &transcript, Seeds &seeds)
{
    std::map<std::pair<std::string, size_t>, std::string> walks;
    for (const Step &step : transcript.steps)
        for (const std::string &sent : step.sent) {
            const std::string record = record_of(sent);
            const std::string command = step.words[0].substr(0, 2);
            if (record.empty() || !seeds.records.insert(command + record).second)
                continue;
            const size_t size = record.size();
            std::string &walk = walks[{command, size}];
            if (walk.size() >= entries_enough * (size + 1)) {
                add_answers(walk, command, seeds);
                walk.clear();
            }
            walk += '\0' + record;
        }
    for (const auto &[kind, walk] : walks) {
        add_answers(walk, kind.first, seeds);
        add_answers(walk, "configuration", seeds);
        for (size_t verb = 0; verb < config_verbs_of_replies; verb++)
            add(byte(verb) + byte(0) + walk, seeds.configReplies);
    }
}

// Each answer of a command in turn fails, or is a result of the gateway's own.
void add_failures(Seeds &seeds)
{
    for (size_t number = 0; number < std::size(reading_commands); number++)
        for (size_t after = 0; after < static_cast<size_t>(tail::count); after++)
            for (size_t before = 0; before < 10; before++)
                for (const char *control : {"", "\xFF", "\xF7"})
                    add(byte(number) + byte(after) + std::string(before, '\1') + control, seeds.replies);
    for (size_t verb = 0; verb < config_verbs_of_replies; verb++)
        for (size_t after = 0; after < static_cast<size_t>(tail::count); after++)
            for (size_t before = 0; before < 10; before++)
                add(byte(verb) + byte(after) + std::string(before, '\1') + '\xFF', seeds.configReplies);
}

// One change of each kind, early and late, and all of them one after the other.
void add_changes(Seeds &seeds)
{
    for (size_t verb = 0; verb < config_verbs_of_changing; verb++)
        for (const size_t distance : {0, 1, 10, 100}) {
            std::string all = byte(verb);
            for (size_t what = 0; what < config_changes; what++) {
                const std::string change = byte(distance) + byte(what) + byte(distance + what);
                add(byte(verb) + change, seeds.configChanging);
                all += change;
            }
            add(all, seeds.configChanging);
        }
}

// Records that no transcript has: the same byte over and over, with which each answer is a success, and pseudo-random
// bytes, the same in each run.
void add_noise(Seeds &seeds)
{
    constexpr size_t enough = 1300; // two of the largest records
    std::mt19937 random;
    for (size_t number = 0; number < std::size(reading_commands); number++)
        for (size_t after = 0; after < static_cast<size_t>(tail::count); after++) {
            for (const char fill : {'\x02', '\x12', '\x80', '\xEE'})
                add(byte(number) + byte(after) + std::string(enough, fill), seeds.replies);
            for (size_t i = 0; i < 8; i++) {
                std::string noise = byte(number) + byte(after);
                while (noise.size() < enough)
                    noise += byte(random() & 0xFF);
                add(noise, seeds.replies);
            }
        }
}

void write(const std::string &folder, const Inputs &inputs)
{
    std::filesystem::create_directories(folder);
    size_t number = 0;
    for (const std::string &input : inputs)
        std::ofstream(folder + "/" + std::to_string(number++), std::ios::binary) << input;
}

// True unless it cannot be read.
bool add_transcript(const char *path, Seeds &seeds)
try {
    const Transcript transcript = read_transcript(path);
    for (const Step &step : transcript.steps) {
        add_words(step, seeds);
        add_file(step, seeds);
        add_rule(step, seeds);
        add_values(step, seeds);
    }
    add_records(transcript, seeds);
    return true;
} catch (const FormatError &error) {
    std::fprintf(stderr, "seeds: %s:%d: %s\n", path, error.line, error.text.c_str());
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    const auto *const harness = std::find_if(std::begin(harnesses), std::end(harnesses), [&](const Harness &known) {
        return argc > 3 && std::strcmp(known.name, argv[2]) == 0;
    });
    if (harness == std::end(harnesses)) {
        std::fprintf(stderr, "usage: seeds FOLDER HARNESS TRANSCRIPT...\n");
        return 2;
    }
    Seeds seeds;
    for (int i = 3; i < argc; i++)
        if (!add_transcript(argv[i], seeds))
            return 2;
    add_failures(seeds);
    add_noise(seeds);
    add_changes(seeds);
    write(argv[1], seeds.*harness->inputs);
    return 0;
}
