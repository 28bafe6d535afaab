#include "options.h"

#include "launcher.h"

#include <getopt.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

enum { bad_use = 2, max_traffic = 100000000 };

static const char usage[] = "Usage: kxqos-lab [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N]\n"
                            "                 [--preload LIBRARY] [--emulator PROGRAM] [--] COMMAND [ARG...]\n"
                            "       kxqos-lab [--state FILE] --reboot\n"
                            "       kxqos-lab [--state FILE] --status\n"
                            "       kxqos-lab [--state FILE] --log\n";

void lab_fail(const char *format, ...)
{
    va_list arguments;

    launcher_end();
    fputs("kxqos-lab: ", stderr);
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    exit(bad_use);
}

static void add_fault(struct gateway_session *session, const char *typed)
{
    const char *wrong;

    if (session->fault_count == GATEWAY_FAULTS)
        lab_fail("more than %d faults", GATEWAY_FAULTS);
    wrong = gateway_read_fault(typed, &session->faults[session->fault_count]);
    if (wrong != NULL)
        lab_fail("--fault %s: %s", typed, wrong);
    session->fault_count++;
}

static uint32_t traffic_of(const char *typed)
{
    uint32_t number = 0;

    for (const char *at = typed; *at != '\0'; at++) {
        if (*at < '0' || *at > '9')
            lab_fail("--traffic %s: not a number", typed);
        number = number * 10 + (uint32_t)(*at - '0');
        if (number > max_traffic)
            lab_fail("--traffic %s: more than %d", typed, max_traffic);
    }
    if (typed[0] == '\0')
        lab_fail("--traffic: not a number");
    return number;
}

static void take_task(struct options *options, enum task task, const char *word)
{
    if (options->task != run_command)
        lab_fail("%s: one of --reboot, --status and --log at a time", word);
    options->task = task;
}

static const struct option known_options[] = {
    {"state", required_argument, NULL, 's'},
    {"trace", required_argument, NULL, 't'},
    {"preload", required_argument, NULL, 'p'},
    {"emulator", required_argument, NULL, 'e'},
    {"fault", required_argument, NULL, 'f'},
    {"traffic", required_argument, NULL, 'n'},
    {"reboot", no_argument, NULL, 'r'},
    {"status", no_argument, NULL, 'S'},
    {"log", no_argument, NULL, 'l'},
    {"help", no_argument, NULL, 'h'},
    {NULL, 0, NULL, 0},
};

/* Takes what getopt_long found; word is how it was typed. */
static void take_option(struct options *options, int found, const char *word)
{
    switch (found) {
    case 's':
        options->state = optarg;
        break;
    case 't':
        options->trace = optarg;
        break;
    case 'p':
        options->preload = optarg;
        break;
    case 'e':
        options->emulator = optarg;
        break;
    case 'f':
        add_fault(&options->session, optarg);
        break;
    case 'n':
        options->traffic = traffic_of(optarg);
        break;
    case 'r':
        take_task(options, reboot, word);
        break;
    case 'S':
        take_task(options, show_status, word);
        break;
    case 'l':
        take_task(options, show_log, word);
        break;
    case 'h':
        fputs(usage, stdout);
        exit(0);
    case ':':
        lab_fail("%s: a value is missing", word);
    default:
        lab_fail("%s: unknown option; kxqos-lab --help shows those that there are", word);
    }
}

/* Options end where the command begins, whose own are not looked at. */
void options_read(int argc, char **argv, struct options *options)
{
    const char *word;
    int found;

    memset(options, 0, offsetof(struct options, session.faults)); /* each of those is written when it is added */
    options->traffic = -1;
    optind = 0; /* from the first word, whoever has read words before */
    word = argv[1];
    while ((found = getopt_long(argc, argv, "+:", known_options, NULL)) != -1) {
        take_option(options, found, word);
        word = argv[optind];
    }
    if (optind < argc)
        options->command = argv + optind;
    if (options->task != run_command &&
        (options->command != NULL || options->trace != NULL || options->traffic >= 0 || options->preload != NULL ||
         options->emulator != NULL || options->session.fault_count != 0))
        lab_fail("only --state goes with --reboot, --status and --log");
    if (options->emulator != NULL && (options->preload == NULL || options->command == NULL))
        lab_fail("--emulator goes with --preload LIBRARY and a COMMAND");
}
