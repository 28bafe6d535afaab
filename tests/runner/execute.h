// The steps of a transcript, run one after another on a gateway of their own.
#ifndef RUNNER_EXECUTE_H
#define RUNNER_EXECUTE_H

#include "transcript.h"

struct Options {
    Words gateway; // the launcher that is linked in, if empty
    Words via;
    std::string tool;
    std::string as = "lab";
    unsigned timeout = 10;
    Words errors; // by their names
    Words files;
};

// Prints what is not as the transcript at that path says. True if every step is. With errors, each step that has a
// plain "fail" is run with each of them in its place too, and has to do the same. Throws std::system_error when
// something cannot be started.
bool execute(const Options &options, const std::string &path, const std::vector<Step> &steps);

// Whether a fault of the step fails without naming an error.
bool fails_plainly(const Step &step);

#endif
