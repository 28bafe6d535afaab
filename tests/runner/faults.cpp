#include "faults.h"

#include <array>
#include <cerrno>
#include <csignal>

namespace {

bool counts(const Fault &fault, const Event &event)
{
    switch (event.kind) {
    case Event::open:
        return fault.where == "open";
    case Event::request:
        return fault.where == "request" || fault.where == event.name;
    default:
        return fault.where == event.name;
    }
}

// Whether the event shows what the fault does to one. What "value" writes is in no trace: only its result is.
bool shows(const Fault &fault, const Event &event)
{
    constexpr std::array<long, 3> failed = {-ENOENT, -EIO, 6};
    if (fault.kills)
        return false; // its event is cut short; the status tells (see below)
    if (fault.fails)  // which error a call leaves behind is in no trace either
        return event.result == (fault.error != 0 && event.kind != Event::call ? -fault.error : failed[event.kind]);
    std::string returned = event.returned;
    for (const auto &[offset, bytes] : fault.bytes) {
        if (offset + bytes.size() > returned.size())
            return false;
        returned.replace(offset, bytes.size(), bytes);
    }
    return returned == event.returned && event.result == fault.result.value_or(0);
}

} // namespace

Words unstruck_faults(const Step &step, const Trace &trace, const Outcome &outcome)
{
    std::vector<long> counted(step.faults.size());
    std::vector<bool> struck(step.faults.size());
    for (const Event &event : trace.events) {
        bool taken = false;
        for (size_t i = 0; i < step.faults.size(); i++) {
            const Fault &fault = step.faults[i];
            if (!counts(fault, event))
                continue;
            counted[i]++;
            bool strikes = !taken && (fault.count == 0 || fault.count == counted[i]);
            taken = taken || strikes;
            struck[i] = struck[i] || (strikes && shows(fault, event));
        }
    }
    Words unstruck;
    for (size_t i = 0; i < step.faults.size(); i++) {
        bool killed = step.faults[i].kills && outcome.status == 128 + SIGKILL;
        if (!struck[i] && !killed)
            unstruck.push_back(step.faults[i].rule);
    }
    return unstruck;
}
