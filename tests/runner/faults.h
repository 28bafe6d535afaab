// Whether the faults that a step asks for have struck.
#ifndef RUNNER_FAULTS_H
#define RUNNER_FAULTS_H

#include "process.h"
#include "trace.h"
#include "transcript.h"

// The rules that never did. A fault that never strikes would let a step pass for a wrong reason.
Words unstruck_faults(const Step &step, const Trace &trace, const Outcome &outcome);

#endif
