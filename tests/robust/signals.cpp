// SIGTERM at any moment: every request that was begun is whole, none is sent without its open, and what a command of
// several requests leaves behind can be read.
#include "tool.h"

#include <random>
#include <string.h>

// Each open is followed by its request, that by its close; the end may come anywhere between.
static bool in_order(const std::string &trace)
{
    static const char *const events[] = {"open 2 = 0", "request ", "close"};
    int next = 0;
    for (size_t at = 0; at < trace.size();) {
        const size_t end = trace.find('\n', at);
        if (end == std::string::npos) // half a line
            return false;
        const std::string line = trace.substr(at, end - at);
        at = end + 1;
        if (line.starts_with("call "))
            continue;
        if (!line.starts_with(events[next]))
            return false;
        if (next == 1 && (line.find(" sent ") == std::string::npos || line.find(" returned ") == std::string::npos))
            return false;
        next = (next + 1) % 3;
    }
    return true;
}

int main(int argc, char **argv)
{
    static const words long_runs[] = {
        {"counter", "clear"},
        {"counter", "show"},
        {"limit", "up", "mode", "vlan"},
        {"limit", "up", "mode", "port"},
        {"configuration", "show"},
    };
    find_tool(argc, argv);
    reboot();
    for (const words &form : forms)
        run_tool(form);
    std::mt19937 chance(20240229);
    int interrupted = 0;
    for (int i = 0; i < 200; i++) {
        const words &tried = long_runs[static_cast<size_t>(i) % std::size(long_runs)];
        run_options options;
        options.killAfter = static_cast<int>(chance() % 8000);
        const run_result seen = run_tool(tried, options);
        interrupted += seen.status == 128 + 15 && !seen.trace.empty() ? 1 : 0;
        check(seen.status == 128 + 15 || seen.status == 0, "neither ended nor interrupted", tried);
        check(in_order(seen.trace), "a request is half sent", tried);
    }
    // A test that never interrupted anything would have seen nothing.
    check(interrupted > 0, "no run was interrupted between its requests", {});
    const run_result after = run_tool({"configuration", "show"});
    check(after.status == 0 && after.output.find("limit up mode ") != std::string::npos, "nothing works any more", {});
    return verdict();
}
