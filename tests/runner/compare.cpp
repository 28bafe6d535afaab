#include "compare.h"

#include "expand.h"
#include "faults.h"

#include <cstdio>

namespace {

// Output, or anything that is more than a line, as a transcript has it.
Words as_written(const std::string &output)
{
    Words lines;
    size_t start = 0;
    for (size_t end = output.find('\n'); end != std::string::npos; end = output.find('\n', start)) {
        std::string line = with_marks(output.substr(start, end - start));
        lines.push_back(line.empty() ? "|" : "| " + line);
        start = end + 1;
    }
    if (start < output.size())
        lines.push_back(": " + with_marks(output.substr(start)));
    return lines;
}

void print_lines(const char *title, const Words &lines, size_t first)
{
    constexpr size_t most = 30;
    std::printf("  %s%s\n", title, lines.empty() ? " nothing" : "");
    if (first > 0)
        std::printf("    ... %zu lines\n", first);
    for (size_t i = first; i < lines.size() && i < first + most; i++)
        std::printf("    %s\n", lines[i].c_str());
    if (lines.size() > first + most)
        std::printf("    ... %zu lines\n", lines.size() - first - most);
}

// Both, from a little before the first difference on.
void print_difference(const char *what, const Words &expected, const Words &got)
{
    constexpr size_t before = 3;
    size_t same = 0;
    while (same < expected.size() && same < got.size() && same_sent(expected[same], got[same]))
        same++;
    size_t first = same > before ? same - before : 0;
    print_lines((std::string(what) + " expected:").c_str(), expected, first);
    print_lines("got:", got, first);
}

} // namespace

bool compare(const std::string &path, const Step &step, const Outcome &outcome, const Trace &trace, unsigned timeout)
{
    Words sent = sent_in(trace);
    bool sent_right = step.anything_sent || same_sent(step.sent, sent);
    Words unstruck = unstruck_faults(step, trace, outcome);
    long status = step.status == none ? 0 : step.status;
    if (!outcome.hung && outcome.output == step.output && outcome.errors.empty() && outcome.status == status &&
        sent_right && trace.problem.empty() && unstruck.empty())
        return true;
    std::printf("%s:%d: %s\n", path.c_str(), step.line, step.command.c_str());
    if (outcome.hung)
        std::printf("  not ended after %u seconds\n", timeout);
    if (outcome.output != step.output)
        print_difference("standard output,", as_written(step.output), as_written(outcome.output));
    if (!outcome.errors.empty())
        print_difference("standard error,", {}, as_written(outcome.errors));
    if (!outcome.hung && outcome.status != status)
        std::printf("  status expected: %ld\n  got: %d\n", status, outcome.status);
    if (!sent_right)
        print_difference("sent,", step.sent, sent);
    if (!trace.problem.empty())
        std::printf("  not one open with flags 2, one request, one close: %s\n", trace.problem.c_str());
    for (const std::string &rule : unstruck)
        std::printf("  a fault that never struck: %s\n", rule.c_str());
    return false;
}
