// What the launcher noted: the events of a step, and whether they stand in a right order.
#ifndef RUNNER_TRACE_H
#define RUNNER_TRACE_H

#include "transcript.h"

// One event of a trace that a transcript can speak of.
struct Event {
    enum { open, request, call } kind;
    std::string name; // the request's number, the function's name
    long result;
    std::string returned; // the payload after the request
    std::string shown;    // as a ">" line has it
};

struct Trace {
    std::vector<Event> events;
    std::string problem; // what is wrong with the order of events, if anything
};

// Each request must have a descriptor of its own: open with flags 2, the request, close. Only a process that was killed
// may leave that unfinished.
Trace read_trace(const std::string &path, bool killed);

// The events as ">" lines.
Words sent_in(const Trace &trace);

// Whether a line is what a ">" line of a transcript asks for, and whether all are. "*" at its end stands for anything.
bool same_sent(const std::string &expected, const std::string &got);
bool same_sent(const Words &expected, const Words &got);

// A payload as runs of bytes that are not zero: " 2:05 5:1122334455".
std::string sparse(const std::string &payload);

#endif
