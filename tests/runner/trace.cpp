#include "trace.h"

#include "text.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace {

// It may be negative.
long to_long(const std::string &text)
{
    return std::strtol(text.c_str(), nullptr, 10);
}

// "request NR = RESULT sent HEX returned HEX"
Event parse_traced_request(const Words &words)
{
    Event event = {Event::request, words[1], to_long(words[3]), "", words[1]};
    auto sent = from_hex(words[5]);
    event.returned = from_hex(words[7]).value_or("");
    if (sent)
        event.shown += " " + std::to_string(sent->size()) + sparse(*sent);
    else
        event.shown += " " + words[5]; // of unknown size
    return event;
}

// "call NAME ARG... = RESULT"
Event parse_traced_call(const std::string &line)
{
    size_t equals = line.rfind(" = ");
    std::string shown = line.substr(5, equals - 5);
    return {Event::call, shown.substr(0, shown.find(' ')), to_long(line.substr(equals + 3)), "", shown};
}

} // namespace

Trace read_trace(const std::string &path, bool killed)
{
    Trace trace;
    enum { closed, opened, requested } state = closed;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        Words words = split(line, ' ');
        bool good = false;
        if (words.size() == 4 && words[0] == "open") {
            long result = to_long(words[3]);
            good = state == closed && words[1] == "2";
            state = result < 0 ? closed : opened;
            trace.events.push_back({Event::open, "", result, "", result < 0 ? "open fails" : ""});
        } else if (words.size() == 8 && words[0] == "request") {
            good = state == opened && to_number(words[1]) != none;
            state = requested;
            trace.events.push_back(parse_traced_request(words));
        } else if (line == "close") {
            good = state == requested;
            state = closed;
        } else if (line.starts_with("call ") && line.find(" = ") != std::string::npos) {
            good = state == closed;
            trace.events.push_back(parse_traced_call(line));
        }
        if (!good && trace.problem.empty())
            trace.problem = line;
    }
    if (state != closed && !killed && trace.problem.empty())
        trace.problem = "the end, without a close";
    return trace;
}

Words sent_in(const Trace &trace)
{
    Words sent;
    for (const Event &event : trace.events)
        if (!event.shown.empty())
            sent.push_back(event.shown);
    return sent;
}

bool same_sent(const std::string &expected, const std::string &got)
{
    if (expected.size() > 2 && expected.substr(expected.size() - 2) == " *") {
        std::string head = expected.substr(0, expected.size() - 2);
        return got == head || got.starts_with(head + " ");
    }
    return got == expected;
}

bool same_sent(const Words &expected, const Words &got)
{
    bool same = expected.size() == got.size();
    for (size_t i = 0; same && i < got.size(); i++)
        same = same_sent(expected[i], got[i]);
    return same;
}

std::string sparse(const std::string &payload)
{
    std::string text;
    for (size_t i = 0; i < payload.size(); i++) {
        if (payload[i] == 0)
            continue;
        size_t end = std::min(payload.find('\0', i), payload.size());
        text += " " + std::to_string(i) + ":" + to_hex(payload.substr(i, end - i));
        i = end;
    }
    return text;
}
