// A transcript as it is executed. tests/README.md tells how one is written.
#ifndef RUNNER_TRANSCRIPT_H
#define RUNNER_TRANSCRIPT_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

using Words = std::vector<std::string>;

// A transcript that is not written as tests/README.md says.
struct FormatError {
    int line;
    std::string text;
};

constexpr long none = -1; // in place of a number

struct Line {
    int number;
    std::string text;
};

// One rule of the launcher's --fault; lab/README.md tells what the parts mean.
struct Fault {
    std::string rule;
    std::string where;
    long count = 0; // 0 is every one
    bool fails = false;
    long error = 0; // of one that names it
    bool kills = false;
    std::optional<long> result;
    std::vector<std::pair<size_t, std::string>> bytes;
};

struct Step {
    int line = 0;
    std::string command; // as written; empty when the step is only a reboot
    Words words;
    bool reboot = false;
    std::vector<Fault> faults;
    std::string traffic;
    std::string standard_output; // "full", "closed" or "broken"; empty is a pipe to here
    bool standard_input_closed = false;

    std::string output;
    long status = none; // 0 if no line gives it
    Words sent;
    bool anything_sent = false;
};

struct Transcript {
    std::vector<std::pair<std::string, std::string>> skips; // where and why
    std::vector<Step> steps;
};

// A decimal number and nothing else, of ten digits at most; or none.
long to_number(const std::string &text);

// Reads a file. Throws FormatError.
Transcript read_transcript(const std::string &path);

#endif
