// Standard output closed, full, or a pipe that nobody reads: what was to be printed is missed, so the status is 255;
// and what was to be sent is sent all the same. What is printed is written at once, as far as it goes into one buffer,
// so that the lines of two runs do not mix.
#include "tool.h"

#include <signal.h>

static void with(StandardOutput kind, const char *name, const std::vector<run_result> &expected)
{
    run_options options;
    options.output = kind;
    reboot();
    for (size_t i = 0; i < forms.size(); i++) {
        const run_result seen = run_tool(forms[i], options);
        const bool deadly = kind == StandardOutput::broken_and_deadly;
        const int missed = deadly ? 128 + SIGPIPE : 255;
        check(seen.status == (expected[i].output.empty() ? expected[i].status : missed), name, forms[i]);
        check(seen.error.empty(), name, forms[i]);
        check(seen.trace == expected[i].trace, name, forms[i]);
    }
}

static void at_once()
{
    constexpr size_t buffer = 16384;
    run_options options;
    options.output = StandardOutput::counted;
    reboot();
    for (const words &form : forms) {
        const run_result seen = run_tool(form, options);
        check(seen.output.size() < buffer, "more than one buffer", form);
        check(seen.writes == (seen.output.empty() ? 0 : 1), "not written at once", form);
    }
}

int main(int argc, char **argv)
{
    find_tool(argc, argv);
    std::vector<run_result> expected;
    reboot();
    expected.reserve(forms.size());
    for (const words &form : forms)
        expected.push_back(run_tool(form));
    with(StandardOutput::closed, "standard output closed", expected);
    with(StandardOutput::full, "standard output full", expected);
    with(StandardOutput::broken, "standard output broken", expected);
    with(StandardOutput::broken_and_deadly, "standard output broken, SIGPIPE deadly", expected);
    at_once();
    return verdict();
}
