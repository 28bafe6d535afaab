// Executes transcripts: files that show commands as typed, with what they print and what they send. tests/README.md
// tells how they are written. Uses nothing but the system itself, so that it also runs, linked statically, in a guest
// that has no shell to speak of.
#include "errors.h"
#include "execute.h"
#include "text.h"
#include "transcript.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <getopt.h>

namespace {

enum class Verdict { passed, failed, skipped };

Verdict judge(const Options &options, const std::string &path)
{
    try {
        Transcript transcript = read_transcript(path);
        for (const auto &[where, why] : transcript.skips) {
            if (where == options.as) {
                std::printf("skip %s: %s\n", path.c_str(), why.c_str());
                return Verdict::skipped;
            }
        }
        if (!options.errors.empty() && std::none_of(transcript.steps.begin(), transcript.steps.end(), fails_plainly)) {
            std::printf("skip %s: nothing fails\n", path.c_str());
            return Verdict::skipped;
        }
        bool good = execute(options, path, transcript.steps);
        std::printf("%s %s: %zu steps\n", good ? "pass" : "FAIL", path.c_str(), transcript.steps.size());
        return good ? Verdict::passed : Verdict::failed;
    } catch (const FormatError &error) {
        std::printf("%s:%d: %s\nFAIL %s\n", path.c_str(), error.line, error.text.c_str(), path.c_str());
        return Verdict::failed;
    }
}

[[noreturn]] void bad_use()
{
    std::fputs("usage: transcript [--gateway \"WORDS\"] --tool PATH [--via \"WORDS\"] [--as NAME] "
               "[--timeout SECONDS] [--errors \"NAMES\"] FILE...\n",
               stderr);
    std::exit(2);
}

Options read_options(int argc, char **argv)
{
    static constexpr std::array<option, 7> known = {{{"gateway", required_argument, nullptr, 'g'},
                                                     {"via", required_argument, nullptr, 'v'},
                                                     {"tool", required_argument, nullptr, 't'},
                                                     {"as", required_argument, nullptr, 'a'},
                                                     {"errors", required_argument, nullptr, 'e'},
                                                     {"timeout", required_argument, nullptr, 's'},
                                                     {nullptr, 0, nullptr, 0}}};
    Options options;
    opterr = 0; // the usage says it
    for (int letter = 0; (letter = getopt_long(argc, argv, "+", known.data(), nullptr)) != -1;) {
        switch (letter) {
        case 'g':
            options.gateway = split(optarg, ' ');
            break;
        case 'v':
            options.via = split(optarg, ' ');
            break;
        case 't':
            options.tool = optarg;
            break;
        case 'a':
            options.as = optarg;
            break;
        case 's':
            if (to_number(optarg) <= 0)
                bad_use();
            options.timeout = static_cast<unsigned>(to_number(optarg));
            break;
        case 'e':
            options.errors = split(optarg, ' ');
            if (std::any_of(options.errors.begin(), options.errors.end(),
                            [](const std::string &name) { return error_number(name.c_str()) == 0; }))
                bad_use();
            break;
        default:
            bad_use();
        }
    }
    options.files.assign(argv + optind, argv + argc);
    if (options.tool.empty() || options.files.empty())
        bad_use();
    return options;
}

} // namespace

int main(int argc, char **argv)
{
    Options options = read_options(argc, argv);
    std::signal(SIGPIPE, SIG_IGN); // whoever reads may go: the temporary folder is removed all the same
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    std::array<int, 3> numbers = {};
    try {
        for (const std::string &file : options.files)
            numbers[static_cast<size_t>(judge(options, file))]++;
    } catch (const std::system_error &error) {
        std::fprintf(stderr, "transcript: %s\n", error.what());
        return 2;
    }
    std::printf("%d passed, %d failed, %d skipped\n", numbers[0], numbers[1], numbers[2]);
    return numbers[1] == 0 ? 0 : 1;
}
