// What a step did beside what its transcript says.
#ifndef RUNNER_COMPARE_H
#define RUNNER_COMPARE_H

#include "process.h"
#include "trace.h"
#include "transcript.h"

// Prints what differs. True if nothing does. The timeout, in seconds, is for the message.
bool compare(const std::string &path, const Step &step, const Outcome &outcome, const Trace &trace, unsigned timeout);

#endif
