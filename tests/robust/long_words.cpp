// A word as long as Linux passes any, in every place of every command: refused or taken like a short one, on 64 KiB of
// stack.
#include "text.h"
#include "tool.h"

// Ways to make a word of that length: longer than every name, number and address already when short.
static std::string lengthened(const std::string &word, int way, size_t length)
{
    const std::string filling(length - word.size(), 'x');
    switch (way) {
    case 0:
        return word + filling; // begins as a keyword does
    case 1:
        return std::string(length - word.size(), '0') + word; // a number with leading zeros
    default:
        return filling + word; // unknown from the first character on
    }
}

int main(int argc, char **argv)
{
    constexpr size_t longest = 128 * 1024 - 1;
    constexpr size_t shorter = 300; // beyond the 255 characters that are looked at of an IPv6 address
    find_tool(argc, argv);
    run_options small;
    small.limit = "stack";
    for (const words &form : forms) {
        for (size_t i = 0; i < form.size(); i++) {
            for (int way = 0; way < 3; way++) {
                words reference = form;
                words tried = form;
                reference[i] = lengthened(form[i], way, shorter);
                tried[i] = lengthened(form[i], way, longest);
                reboot();
                const run_result expected = run_tool(reference);
                reboot();
                const run_result seen = run_tool(tried, small);
                check(expected.status < 128 || expected.status == 255, "a short word ends it", tried);
                check(seen.status == expected.status, "the status is another one", tried);
                check(seen.error.empty(), "standard error is used", tried);
                check(seen.trace == expected.trace, "something else is sent", tried);
                check(replaced(seen.output, tried[i], reference[i]) == expected.output, "something else is printed",
                      tried);
            }
        }
    }
    return verdict();
}
