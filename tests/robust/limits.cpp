// No memory, no stack to speak of, no descriptor.
#include "tool.h"

static constexpr char open_failure[] = "Open kxqos dev failure!\n";

// The tool allocates nothing, so that it does not miss what it cannot have.
static void without(const char *limit)
{
    run_options limited;
    limited.limit = limit;
    std::vector<run_result> expected;
    reboot();
    expected.reserve(forms.size());
    for (const words &form : forms)
        expected.push_back(run_tool(form));
    reboot();
    for (size_t i = 0; i < forms.size(); i++) {
        const run_result seen = run_tool(forms[i], limited);
        check(seen.status == expected[i].status, limit, forms[i]);
        check(seen.error.empty(), limit, forms[i]);
        check(seen.output == expected[i].output, limit, forms[i]);
        check(seen.trace == expected[i].trace, limit, forms[i]);
    }
}

// Each request is told as an open that fails, and nothing is sent.
static void without_descriptors()
{
    run_options limited;
    limited.limit = "descriptors";
    for (const words &form : forms) {
        reboot();
        if (form[0] == "test") // these need the library, which has its own means
            continue;
        const run_result expected = run_tool(form);
        if (expected.trace.find("open ") == std::string::npos)
            continue;
        const run_result seen = run_tool(form, limited);
        check(seen.status == 255 || seen.status == 0, "no descriptor", form);
        check(seen.output.starts_with(open_failure) ||
                  seen.output.find(std::string("\n") + open_failure) != std::string::npos,
              "no descriptor: not told", form);
        check(seen.trace.empty(), "no descriptor: something is sent", form);
        check(seen.error.empty(), "no descriptor: standard error is used", form);
        if (form[0] == "rule" || form[0] == "bucket" || form[0] == "qos")
            check(seen.status == 255, "no descriptor: the status", form);
    }
}

int main(int argc, char **argv)
{
    find_tool(argc, argv);
    without("memory");
    without("stack");
    without_descriptors();
    return verdict();
}
