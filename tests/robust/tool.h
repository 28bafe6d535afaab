// Runs of the tool in the lab, for the robustness tests.
#ifndef ROBUST_TOOL_H
#define ROBUST_TOOL_H

#include "process.h"

#include <string>
#include <string_view>
#include <vector>

using words = std::vector<std::string>;

struct run_options {
    std::string limit; // what limits.so takes away
    std::string walk;  // the walk that endless.so never ends, in place of the lab
    StandardOutput output = StandardOutput::captured;
    int killAfter = -1; // microseconds until SIGTERM
    bool alone = false; // with alone.so in place of the lab
    std::string fault;  // as lab/README.md tells
};

struct run_result {
    int status = 0; // 128 + n for signal n
    std::string output;
    std::string error;
    std::string trace;
    int writes = 0; // if the standard output tells
};

// Where things are, from the arguments of main: the folder of the build.
void find_tool(int argc, char **argv);

// Each run is on the gateway as the one before left it; this switches it on anew.
void reboot();

run_result run_tool(const words &arguments, const run_options &options = {});

// Counts and tells a failure unless the condition holds.
void check(bool condition, std::string_view what, const words &arguments);
// The exit status of the test.
int verdict();

// Whether each request of a trace stands between an open and a close of its own. An open that failed has neither; at
// the end, any part of it may be missing.
bool in_order(const std::string &trace);

// Every form of every command: sentences that the tool takes, one for each way through its grammar.
extern const std::vector<words> forms;

#endif
