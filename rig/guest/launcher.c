/* In the guest what kxqos-lab is outside: runs a command on the gateway behind the real /dev/kxqos.
 *
 *     kxqos-rig [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N] [--] COMMAND [ARG...]
 *     kxqos-rig [--state FILE] --reboot
 *
 * There is one /dev/kxqos, so what the module holds is the same whatever FILE says; FILE is where the stand-in for
 * libkx keeps its half. The trace of both is collected by the module, which sees everything in order.
 */
#include "launcher.h"

#include "event.h"
#include "gateway.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define CONTROL "/dev/kxqos-rig"
#define SESSION "/run/kxqos-rig.session"

/* What was asked for; the faults are those of calls. */
static struct gateway_session session;
static const char *state;
static const char *trace;

static _Noreturn void give_up(const char *what)
{
    fprintf(stderr, "kxqos-rig: %s: %s\n", what, strerror(errno));
    exit(2);
}

static _Noreturn void bad_use(void)
{
    fprintf(stderr, "usage: kxqos-rig [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N] [--] COMMAND "
                    "[ARG...] | kxqos-rig [--state FILE] --reboot\n");
    exit(2);
}

static int control_device(void)
{
    static int fd = -1;

    if (fd < 0)
        fd = open(CONTROL, O_RDWR | O_CLOEXEC);
    if (fd < 0)
        give_up(CONTROL);
    return fd;
}

static void control(const char *command, const char *word)
{
    char text[4096];
    const int length = snprintf(text, sizeof text, "%s%s", command, word);

    if (length >= (int)sizeof text || write(control_device(), text, (size_t)length) != length)
        give_up(text);
}

static void open_state(struct store *store, const char *path)
{
    if (!store_open(store, path))
        give_up(path);
}

static void reboot(void)
{
    struct store store;

    control("reboot", "");
    open_state(&store, state);
    if (!store_reset(&store))
        give_up(state);
    store_close(&store);
}

static void offer(const char *packets)
{
    struct store store;
    struct library *library;

    control("traffic ", packets);
    open_state(&store, state);
    library = store_begin(&store, STORE_LIBRARY);
    if (library == NULL)
        give_up(state);
    library_offer(library, (uint32_t)strtoul(packets, NULL, 10));
    if (!store_commit(&store, STORE_LIBRARY))
        give_up(state);
    store_close(&store);
}

/* Faults of calls strike in the stand-in for libkx, all others in the module. */
static void add_fault(const char *rule)
{
    struct gateway_fault *fault = &session.faults[session.fault_count];
    const char *wrong = session.fault_count == GATEWAY_FAULTS ? "too many" : gateway_read_fault(rule, fault);

    if (wrong != NULL) {
        fprintf(stderr, "kxqos-rig: --fault %s: %s\n", rule, wrong);
        exit(2);
    }
    if (fault->where == GATEWAY_CALL)
        session.fault_count++;
    else
        control("fault ", rule);
}

static void write_session(void)
{
    const int fd = open(SESSION, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);

    if (fd < 0 || write(fd, &session, sizeof session) != (ssize_t)sizeof session)
        give_up(SESSION);
    close(fd);
}

static void fetch_trace(const char *path)
{
    static char buffer[1 << 16];
    const int to = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    off_t have = 0;
    ssize_t length;

    if (to < 0)
        give_up(path);
    while ((length = pread(control_device(), buffer, sizeof buffer, have)) > 0) {
        if (write(to, buffer, (size_t)length) != length)
            give_up(path);
        have += length;
    }
    if (length < 0)
        give_up("the trace");
    close(to);
}

static void obey(const char *option, const char *value)
{
    if (strcmp(option, "--state") == 0)
        state = value;
    else if (strcmp(option, "--trace") == 0)
        trace = value;
    else if (strcmp(option, "--fault") == 0)
        add_fault(value);
    else if (strcmp(option, "--traffic") == 0)
        offer(value);
    else
        bad_use();
}

/* Does what the options say. Returns where the command begins; argc if there is none, after --reboot. */
static int obey_all(int argc, char **argv)
{
    int i = 1;

    for (; i < argc && strncmp(argv[i], "--", 2) == 0 && argv[i][2] != '\0'; i += 2) {
        if (strcmp(argv[i], "--reboot") == 0) {
            reboot();
            return argc;
        }
        if (i + 1 == argc)
            bad_use();
        obey(argv[i], argv[i + 1]);
    }
    if (i < argc && strcmp(argv[i], "--") == 0)
        i++;
    if (i >= argc)
        bad_use();
    return i;
}

struct launch launcher_begin(int argc, char **argv)
{
    static char state_variable[PATH_MAX];
    static char trace_variable[] = LAB_TRACE "=" CONTROL;
    static char session_variable[] = LAB_SESSION "=" SESSION;
    static char no_session_variable[] = LAB_SESSION "=";
    static char *variables[] = {state_variable, trace_variable, NULL, NULL};
    int command;

    memset(&session, 0, sizeof session);
    state = "/run/kxqos-rig.state";
    trace = NULL;
    control("begin", "");
    command = obey_all(argc, argv);
    snprintf(state_variable, sizeof state_variable, "%s=%s", LAB_STATE, state);
    variables[2] = session.fault_count != 0 ? session_variable : no_session_variable;
    if (session.fault_count != 0)
        write_session();
    return (struct launch){command < argc ? argv + command : NULL, variables};
}

void launcher_end(void)
{
    if (trace != NULL)
        fetch_trace(trace);
    control("end", "");
}
