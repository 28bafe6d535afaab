/* kxqos-lab: runs a command inside the simulated gateway. See README.md. */
#include "event.h"
#include "status.h"

#include <errno.h>
#include <fcntl.h>
#include <getopt.h>
#include <limits.h>
#include <signal.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

enum { bad_use = 2, cannot_run = 126, not_found = 127, max_traffic = 100000000 };

enum task { run_command, reboot, show_status, show_log };

struct options {
    enum task task;
    const char *state;    /* null for the usual place */
    const char *trace;    /* null for none */
    const char *preload;  /* null for the library beside this program, "" for none */
    const char *emulator; /* null for none */
    int64_t traffic;      /* packets, -1 for no offer */
    char **command;       /* null for a shell */
};

static const char usage[] = "Usage: kxqos-lab [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N]\n"
                            "                 [--preload LIBRARY] [--emulator PROGRAM] [--] COMMAND [ARG...]\n"
                            "       kxqos-lab [--state FILE] --reboot\n"
                            "       kxqos-lab [--state FILE] --status\n"
                            "       kxqos-lab [--state FILE] --log\n";

/* The faults that were asked for; given to the command in a file. */
static struct gateway_session session;
static char session_path[PATH_MAX];

static volatile sig_atomic_t child;

/* Ends with one line on standard error. */
__attribute__((format(printf, 1, 2), noreturn)) static void fail(const char *format, ...)
{
    va_list arguments;

    if (session_path[0] != '\0')
        unlink(session_path);
    fputs("kxqos-lab: ", stderr);
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    exit(bad_use);
}

/* Words */

static void add_fault(const char *typed)
{
    const char *wrong;

    if (session.fault_count == GATEWAY_FAULTS)
        fail("more than %d faults", GATEWAY_FAULTS);
    wrong = gateway_read_fault(typed, &session.faults[session.fault_count]);
    if (wrong != NULL)
        fail("--fault %s: %s", typed, wrong);
    session.fault_count++;
}

static uint32_t traffic_of(const char *typed)
{
    uint32_t number = 0;

    for (const char *at = typed; *at != '\0'; at++) {
        if (*at < '0' || *at > '9')
            fail("--traffic %s: not a number", typed);
        number = number * 10 + (uint32_t)(*at - '0');
        if (number > max_traffic)
            fail("--traffic %s: more than %d", typed, max_traffic);
    }
    if (typed[0] == '\0')
        fail("--traffic: not a number");
    return number;
}

static void take_task(struct options *options, enum task task, const char *word)
{
    if (options->task != run_command)
        fail("%s: one of --reboot, --status and --log at a time", word);
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
        add_fault(optarg);
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
        fail("%s: a value is missing", word);
    default:
        fail("%s: unknown option; kxqos-lab --help shows those that there are", word);
    }
}

/* Options end where the command begins, whose own are not looked at. */
static struct options read_options(int argc, char **argv)
{
    struct options options = {.traffic = -1};
    const char *word = argv[optind];
    int found;

    while ((found = getopt_long(argc, argv, "+:", known_options, NULL)) != -1) {
        take_option(&options, found, word);
        word = argv[optind];
    }
    if (optind < argc)
        options.command = argv + optind;
    if (options.task != run_command &&
        (options.command != NULL || options.trace != NULL || options.traffic >= 0 || options.preload != NULL ||
         options.emulator != NULL || session.fault_count != 0))
        fail("only --state goes with --reboot, --status and --log");
    if (options.emulator != NULL && (options.preload == NULL || options.command == NULL))
        fail("--emulator goes with --preload LIBRARY and a COMMAND");
    return options;
}

/* Files */

static const char *usual_state(void)
{
    static char path[PATH_MAX];
    const char *folder = lab_variable("XDG_RUNTIME_DIR");

    snprintf(path, sizeof path, "%s/kxqos-lab-%u.state", folder != NULL ? folder : "/tmp", (unsigned)getuid());
    return path;
}

__attribute__((noreturn)) static void fail_of_state(const char *path)
{
    switch (errno) {
    case EMEDIUMTYPE:
        fail("%s: not a state file of this version; it is left alone", path);
    case ELOOP:
        fail("%s: a link instead of a state file; it is not followed", path);
    case EPERM:
        fail("%s: others own this file, may write it or have another name for it; it is left alone", path);
    default:
        fail("%s: %s", path, strerror(errno));
    }
}

static void open_state(struct store *store, const char *path)
{
    if (!store_open(store, path))
        fail_of_state(path);
}

static void *state_of(struct store *store, const char *path, enum store_half half)
{
    void *state = store_begin(store, half);

    if (state == NULL)
        fail_of_state(path);
    return state;
}

static void keep(const char *path, bool kept)
{
    if (!kept)
        fail_of_state(path);
}

static void open_trace(const char *path)
{
    const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);

    if (fd < 0)
        fail("%s: %s", path, strerror(errno));
    close(fd);
}

/* The command may change its folder, so it is told whole paths. */
static void set_path(const char *variable, const char *path)
{
    static char whole[PATH_MAX];

    if (realpath(path, whole) == NULL)
        fail("%s: %s", path, strerror(errno));
    setenv(variable, whole, 1);
}

/* Only what is filled of the session is written; the rest of the file is a hole. */
static void write_session(void)
{
    const char *folder = lab_variable("TMPDIR");
    const size_t used = offsetof(struct gateway_session, faults) + session.fault_count * sizeof session.faults[0];
    int fd;

    snprintf(session_path, sizeof session_path, "%s/kxqos-lab.XXXXXX", folder != NULL ? folder : "/tmp");
    fd = mkstemp(session_path);
    if (fd < 0 || write(fd, &session, used) != (ssize_t)used || ftruncate(fd, sizeof session) != 0)
        fail("%s: %s", session_path, strerror(errno));
    close(fd);
    set_path(LAB_SESSION, session_path);
}

/* The environment of the command */

/* The folder of this program. */
static const char *own_folder(void)
{
    static char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);

    if (length <= 0)
        fail("/proc/self/exe: %s", strerror(errno));
    path[length] = '\0';
    *strrchr(path, '/') = '\0';
    return path;
}

/* The preload library lies beside this program, or in lib/kxqos-lab beside its bin. */
static const char *find_preload(bool *installed)
{
    static char path[PATH_MAX + 64];

    snprintf(path, sizeof path, "%s/libkxqos-lab.so", own_folder());
    *installed = access(path, R_OK) != 0;
    if (*installed)
        snprintf(path, sizeof path, "%s/../lib/kxqos-lab/libkxqos-lab.so", own_folder());
    if (access(path, R_OK) != 0)
        fail("%s: %s", path, strerror(errno));
    return path;
}

/* Sets a list of paths to first:second. */
static void set_list(const char *variable, const char *first, const char *second)
{
    size_t size;
    char *list;

    if (first == NULL || second == NULL) {
        setenv(variable, first != NULL ? first : second, 1);
        return;
    }
    size = strlen(first) + strlen(second) + 2;
    list = malloc(size);
    if (list == NULL)
        fail("%s", strerror(errno));
    snprintf(list, size, "%s:%s", first, second);
    setenv(variable, list, 1);
    free(list);
}

/* Where a tool is installed, the stand-in libkx.so is not beside it: it is found by LD_LIBRARY_PATH. */
static void set_preload(const struct options *options)
{
    bool installed = false;
    const char *library = options->preload != NULL ? options->preload : find_preload(&installed);

    if (strpbrk(library, ": ") != NULL)
        fail("%s: a library with a blank or a colon in its path cannot be preloaded", library);
    set_list("LD_PRELOAD", library, lab_variable("LD_PRELOAD"));
    if (installed) {
        static char folder[PATH_MAX + 64];
        snprintf(folder, sizeof folder, "%s/../lib/kxqos-lab", own_folder());
        set_list("LD_LIBRARY_PATH", folder, lab_variable("LD_LIBRARY_PATH"));
    }
}

static void set_environment(const struct options *options, const char *state)
{
    unsetenv(LAB_TRACE);
    unsetenv(LAB_SESSION);
    set_path(LAB_STATE, state);
    if (options->trace != NULL)
        set_path(LAB_TRACE, options->trace);
    if (session.fault_count != 0)
        write_session();
    if (options->emulator == NULL && (options->preload == NULL || options->preload[0] != '\0'))
        set_preload(options);
    set_list("PATH", lab_variable("PATH"), own_folder());
}

/* Running */

/* An emulator is told to preload the library into what it emulates. Its three words go before the command, in place of
 * the last ones of --emulator and --preload. */
static char **words_to_run(const struct options *options)
{
    static char preload_option[] = "-E";
    static char preload[PATH_MAX + 16];
    static char program[PATH_MAX];
    static char *shell[] = {program, NULL};
    const char *given = lab_variable("SHELL");
    char **words = options->command;

    if (words == NULL) {
        snprintf(program, sizeof program, "%s", given != NULL ? given : "/bin/sh");
        return shell;
    }
    if (options->emulator != NULL) {
        snprintf(program, sizeof program, "%s", options->emulator);
        snprintf(preload, sizeof preload, "LD_PRELOAD=%s", options->preload);
        *--words = preload;
        *--words = preload_option;
        *--words = program;
    }
    return words;
}

static void pass_on(int number)
{
    kill((pid_t)child, number);
}

/* An interrupt from the terminal reaches the command by itself; what is sent to this process only is passed on. */
static void handle_signals(void)
{
    const struct sigaction passing = {.sa_handler = pass_on, .sa_flags = SA_RESTART};

    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    sigaction(SIGTERM, &passing, NULL);
    sigaction(SIGHUP, &passing, NULL);
}

static int run(char **words)
{
    int status = 0;
    pid_t pid;
    const int error = posix_spawnp(&pid, words[0], NULL, NULL, words, environ);

    if (error != 0) {
        fprintf(stderr, "kxqos-lab: %s: %s\n", words[0], strerror(error));
        return error == ENOENT ? not_found : cannot_run;
    }
    child = pid;
    handle_signals();
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

static void offer(struct store *store, const char *path, uint32_t packets)
{
    model_offer(state_of(store, path, STORE_MODULE), packets);
    keep(path, store_commit(store, STORE_MODULE));
    library_offer(state_of(store, path, STORE_LIBRARY), packets);
    keep(path, store_commit(store, STORE_LIBRARY));
}

static int run_in_lab(const struct options *options, struct store *store, const char *state)
{
    int status;

    if (options->trace != NULL)
        open_trace(options->trace);
    if (options->traffic >= 0)
        offer(store, state, (uint32_t)options->traffic);
    store_close(store);
    set_environment(options, state);
    status = run(words_to_run(options));
    if (session_path[0] != '\0')
        unlink(session_path);
    return status;
}

int main(int argc, char **argv)
{
    const struct options options = read_options(argc, argv);
    const char *state = options.state != NULL ? options.state : usual_state();
    struct store store;

    open_state(&store, state);
    switch (options.task) {
    case reboot:
        keep(state, store_reset(&store));
        break;
    case show_status:
        print_status(state_of(&store, state, STORE_MODULE), state_of(&store, state, STORE_LIBRARY));
        break;
    case show_log:
        print_log(state_of(&store, state, STORE_MODULE));
        break;
    default:
        return run_in_lab(&options, &store, state);
    }
    store_close(&store);
    return fflush(stdout) == 0 ? 0 : bad_use;
}
