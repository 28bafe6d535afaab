// The tool does its requests, prints, and ends. It does nothing else, looks at nothing else, and does not care which
// error an open or a request fails with: no command tries again, waits, opens a file, asks the environment, or tells
// the error.
#include "tool.h"

#include "errors.h"
#include "text.h"

static const words errors = split(ERRORS, ' '); // those of tests/errors

static size_t count_of(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

static run_result run_alone(const words &form, const std::string &fault = "")
{
    run_options options;
    options.alone = true;
    options.fault = fault;
    return run_tool(form, options);
}

// The same as with another error, but for its number in the trace.
static void fails_the_same(const words &form, const std::string &event, const std::string &error,
                           const run_result &expected)
{
    const run_result seen = run_alone(form, event + "=fail:" + error);
    const std::string what = event + " fails with " + error;
    const std::string result = " = -" + std::to_string(error_number(error.c_str()));
    check(seen.status == expected.status, what + ": the status", form);
    check(seen.output == expected.output, what + ": the output", form);
    check(seen.error.empty(), what + ": standard error", form);
    check(replaced(seen.trace, result, " = -") == expected.trace, what + ": the requests", form);
}

// Each open, or each request, fails with each of the errors; of hundreds, each one with one of them.
static void fails(const words &form, const char *kind, size_t count)
{
    for (size_t n = 1; n <= count; n++) {
        const std::string event = std::string(kind) + "#" + std::to_string(n);
        run_result expected = run_alone(form, event + "=fail:E2BIG");
        expected.trace = replaced(expected.trace, " = -7", " = -");
        check(expected.status == 0 || expected.status == 255, event + " fails: the status", form);
        check(expected.error.empty(), event + " fails: standard error", form);
        check(in_order(expected.trace), event + " fails: the requests", form);
        check(count_of(expected.trace, " = -") == 1, event + " fails: not one failure", form);
        check(count_of(expected.output, "Open kxqos dev failure!\n") == (kind == std::string("open") ? 1 : 0),
              event + " fails: the message", form);
        if (count > 2 * errors.size())
            fails_the_same(form, event, errors[n % errors.size()], expected);
        else
            for (const std::string &error : errors)
                fails_the_same(form, event, error, expected);
    }
}

static std::string without_calls(const std::string &trace)
{
    std::string rest;
    for (const std::string &line : split(trace, '\n'))
        if (!line.starts_with("call "))
            rest += line + "\n";
    return rest;
}

int main(int argc, char **argv)
{
    find_tool(argc, argv);
    reboot();
    for (const words &form : forms) {
        const run_result seen = run_alone(form);
        const size_t opens = count_of(seen.trace, "open ");
        const size_t requests = count_of(seen.trace, "request ");
        check(seen.error.empty(), "alone: standard error", form);
        check(opens == requests && in_order(seen.trace), "alone: not an open, a request and a close", form);
        fails(form, "open", opens);
        fails(form, "request", requests);

        const run_result expected = run_tool(form); // and keeps what it changes
        const bool calls = expected.trace.find("call ") != std::string::npos;
        // Outside the lab every call fails, which few commands look at.
        check(seen.status == expected.status || (calls && seen.status == 255), "alone: the status", form);
        check(calls || seen.output == expected.output, "alone: the output", form);
        check(seen.trace == without_calls(expected.trace), "alone: the requests", form);
    }
    return verdict();
}
