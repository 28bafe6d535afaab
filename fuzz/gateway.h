// The gateway as the harnesses play it: the device and the library, faked at the tool's two seams, and standard output
// kept in memory. Answers are arbitrary bytes; whatever the tool sends is checked for what must hold of it always.
#ifndef FUZZ_GATEWAY_H
#define FUZZ_GATEWAY_H

#include "inputs.h"
#include "kxqos.h"

#include <string>
#include <string_view>
#include <vector>

using bytes = std::vector<uint8_t>;

struct gateway_t {
    bytes answers;
    tail after = tail::zeros;
    bool blur = false; // fill what a returned rule does not use, so that it shows where it is used all the same

    // What was seen.
    bool allSucceeded = true; // every answer was a success
    int requests = 0;
    int changes = 0; // requests that change something, but for a database written back as it was
    int libraryCalls = 0;
    bool ruleAdded = false;
    kxqos_rule_t rule = {}; // the last one that was added
};

extern gateway_t gateway;

// Runs the tool with these words after its name, on a gateway that answers so, and returns its result. A walk that
// never ends is cut off after 300 steps (the real end of it is tested from outside): then walkCut is set.
int run_tool(const std::vector<std::string> &words, const bytes &answers, tail after, bool blur = false);
extern bool walkCut;

// What was printed since the last call of forget_output or run_tool.
std::string_view output();
void forget_output();

// Ends the process with a message, which is a finding, unless the condition holds.
void check(bool condition, const char *what);

// The words of an input: separated by NUL, or by whatever is given; no more than 40.
std::vector<std::string> split(std::string_view text, char separator = '\0');

// Whether some storage of the record belongs to two selected fields.
bool shares_storage(const kxqos_rule_t &rule);

#endif
