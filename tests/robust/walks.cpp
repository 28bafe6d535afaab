// A module, or a library, whose walks never end: ids have 16 bits, so that 65,535 entries are all there can be.
#include "tool.h"

static void endless(const char *walk, const words &arguments, const std::string &line, size_t expected)
{
    run_options options;
    options.walk = walk;
    const run_result seen = run_tool(arguments, options);
    size_t count = 0;
    for (size_t at = seen.output.find(line); at != std::string::npos; at = seen.output.find(line, at + 1))
        count++;
    check(seen.status == 0, "an endless walk: the status", arguments);
    check(count == expected, "an endless walk: the entries shown", arguments);
}

int main(int argc, char **argv)
{
    find_tool(argc, argv);
    endless("rules", {"configuration", "show"}, "rule 5 profile qos action\n", 65535);
    endless("rules", {"configuration", "show"}, "rule 5 profile hardacc action\n", 65535);
    endless("buckets", {"configuration", "show"}, "bucket 5 rate 0\n", 65535);
    endless("library", {"test", "api"}, " rule 5: \n", 65535);
    return verdict();
}
