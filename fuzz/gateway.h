// The gateway as the harnesses play it: the device and the library, faked at the tool's two seams, and standard output
// kept in memory. Answers are arbitrary bytes; whatever the tool sends is checked for what must hold of it always.
#ifndef FUZZ_GATEWAY_H
#define FUZZ_GATEWAY_H

#include "inputs.h"
#include "kxqos.h"

#include <span>
#include <string_view>
#include <vector>

using bytes = std::span<const uint8_t>; // whoever gives them keeps them
using words_t = std::vector<std::string_view>;

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

// Words as the tool gets them, each in storage of its own size between bytes that nobody may touch, so that a step
// beyond it is seen. Until the next call.
char **arguments(std::span<const std::string_view> words);

// Runs the tool with these words after its name, on a gateway that answers so, and returns its result. A walk
// ends after a few entries, and what asks for more than that is cut off: then walkCut is set. (That walks end by
// themselves is tested from outside.)
int run_tool(const words_t &words, bytes answers, tail after, bool blur = false);
extern bool walkCut;

// Whether a rule was returned since the last call of run_tool: where none was, nothing can be blurred.
extern bool ruleReturned;

// What was printed since the last call of forget_output or run_tool.
std::string_view output();
void forget_output();

// Ends the process with a message, which is a finding, unless the condition holds.
void check(bool condition, const char *what);

// The words of an input: separated by NUL, or by whatever is given; no more than 40. They stay until the next call.
const words_t &split(std::string_view text, char separator = '\0');

// Whether some storage of the record belongs to two selected fields.
bool shares_storage(const kxqos_rule_t &rule);

#endif
