// SIGTERM at any moment: every request that was begun is whole, none is sent without its open, and what a command of
// several requests leaves behind can be read.
#include "tool.h"

#include <random>

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
