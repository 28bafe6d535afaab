// kxqos-config: the gateway's whole configuration, checked, compared, applied and saved.

#include "file.h"
#include "message.h"
#include "number.h"
#include "replay.h"
#include "verbs.h"
#include "version.h"
#include "words.h"

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

static constexpr char usage_text[] = "Usage: kxqos-config show [--json]\n"
                                     "       kxqos-config save [--lossy] [--wait SECONDS] [FILE]\n"
                                     "       kxqos-config check [FILE]\n"
                                     "       kxqos-config diff [--wait SECONDS] [FILE]\n"
                                     "       kxqos-config apply [--keep-going | --confirm SECONDS] [--wait SECONDS] "
                                     "[FILE]\n"
                                     "       kxqos-config run [--keep-going] [--wait SECONDS] [FILE]\n"
                                     "       kxqos-config --help | --version\n";

static constexpr int option_help = 1 << 8;
static constexpr int option_version = 1 << 9;

struct verb {
    char name[6];
    uint8_t takes; // option_*
    bool takesFile;
    int (*run)(const char *file, const options &options);
};

static constexpr verb verbs[] = {
    {"show", option_json, false, show},
    {"save", option_lossy | option_wait, true, save},
    {"check", 0, true, check},
    {"diff", option_wait, true, diff},
    {"apply", option_keep_going | option_confirm | option_wait, true, apply},
    {"run", option_keep_going | option_wait, true, run},
};

static constexpr option long_options[] = {
    {"json", no_argument, nullptr, option_json},
    {"lossy", no_argument, nullptr, option_lossy},
    {"keep-going", no_argument, nullptr, option_keep_going},
    {"confirm", required_argument, nullptr, option_confirm},
    {"wait", required_argument, nullptr, option_wait},
    {"help", no_argument, nullptr, option_help},
    {"version", no_argument, nullptr, option_version},
    {nullptr, 0, nullptr, 0},
};

static int refuse_usage()
{
    fputs(usage_text, stderr);
    return status_refused;
}

// An hour at most. Returns false for anything else.
static bool read_seconds(const char *text, unsigned least, unsigned *seconds)
{
    return string_to_number(text, least, 3600, seconds) == 0;
}

// Returns the options that were given, or -1 when any is wrong.
static int read_options(int argc, char **argv, options *options)
{
    int given = 0;
    for (;;) {
        const int found = getopt_long(argc, argv, "", long_options, nullptr);
        if (found == -1)
            return given;
        if (found == '?' || (found == option_confirm && !read_seconds(optarg, 1, &options->confirmSeconds)) ||
            (found == option_wait && !read_seconds(optarg, 0, &options->waitSeconds)))
            return -1;
        given |= found;
    }
}

static const verb *find_verb(const char *word)
{
    for (const verb &verb : verbs)
        if (equals(word, verb.name))
            return &verb;
    return nullptr;
}

static int run_verb(const verb &verb, int count, char **words, int given, options *options)
{
    constexpr int exclusive = option_confirm | option_keep_going;
    if ((given & ~verb.takes) != 0 || (given & exclusive) == exclusive || count > (verb.takesFile ? 1 : 0))
        return refuse_usage();
    options->given = static_cast<uint8_t>(given);
    const char *file = count == 1 ? words[0] : "/etc/kxqos.conf";
    if (*file == '\0')
        return refuse_usage();
    return verb.run(file, *options);
}

// The standard descriptors that are closed are opened the wrong way round, so that nothing else gets their numbers and
// using them fails.
static void occupy_standard_descriptors()
{
    int fd = 0;
    while (fd >= 0 && fd <= STDERR_FILENO) {
        fd = open("/dev/null", O_WRONLY);
        if (fd > STDIN_FILENO && fd <= STDERR_FILENO) {
            close(fd);
            fd = open("/dev/null", O_RDONLY);
        }
    }
    if (fd >= 0)
        close(fd);
}

int main(int argc, char **argv)
{
    occupy_standard_descriptors();
    signal(SIGPIPE, SIG_IGN);
    options options = {.given = 0, .waitSeconds = 10, .confirmSeconds = 0};
    const int given = read_options(argc, argv, &options);
    if (given == option_help || given == option_version) {
        fputs(given == option_help ? usage_text : "kxqos-config " KXQOS_VERSION "\n", stdout);
        return finish_standard_output() ? status_done : status_failed;
    }
    const verb *verb = given < 0 || optind >= argc ? nullptr : find_verb(argv[optind]);
    if (verb == nullptr)
        return refuse_usage();
    return run_verb(*verb, argc - optind - 1, argv + optind + 1, given, &options);
}
