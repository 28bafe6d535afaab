// The steps of a transcript, run one after another on a gateway of their own.
#ifndef RUNNER_EXECUTE_H
#define RUNNER_EXECUTE_H

#include "transcript.h"

struct Options {
    Words gateway;
    Words via;
    std::string tool;
    std::string as = "lab";
    unsigned timeout = 10;
    Words files;
};

// Prints what is not as the transcript at that path says. True if every step is. Throws std::system_error when
// something cannot be started.
bool execute(const Options &options, const std::string &path, const std::vector<Step> &steps);

#endif
