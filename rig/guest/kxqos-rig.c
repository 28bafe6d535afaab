/* In the guest what kxqos-lab is outside: runs a command on the gateway behind the real /dev/kxqos.
 *
 *     kxqos-rig [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N] [--] COMMAND [ARG...]
 *     kxqos-rig [--state FILE] --reboot
 *
 * There is one /dev/kxqos, so what the module holds is the same whatever FILE says; FILE is where the stand-in for
 * libkx keeps its half. The trace of both is collected by the module, which sees everything in order.
 */
#define _GNU_SOURCE
#include "gateway.h"
#include "visit.h"

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#define CONTROL "/dev/kxqos-rig"
#define SESSION "/run/kxqos-rig.session"

extern char **environ;

static _Noreturn void give_up(const char *what)
{
    fprintf(stderr, "kxqos-rig: %s: %s\n", what, strerror(errno));
    exit(2);
}

static void control(const char *command, const char *word)
{
    char text[4096];
    const int length = snprintf(text, sizeof text, "%s%s", command, word);
    const int fd = open(CONTROL, O_WRONLY | O_CLOEXEC);

    if (fd < 0)
        give_up(CONTROL);
    if (length >= (int)sizeof text || write(fd, text, (size_t)length) != length)
        give_up(text);
    close(fd);
}

static void open_state(struct store *store, const char *path)
{
    if (!store_open(store, path))
        give_up(path);
}

static void reboot(const char *state)
{
    struct store store;

    control("reboot", "");
    open_state(&store, state);
    store_reset(&store);
    store_close(&store);
}

static void offer(const char *state, const char *packets)
{
    struct store store;

    control("traffic ", packets);
    open_state(&store, state);
    library_offer(&store_begin(&store)->library, (uint32_t)strtoul(packets, NULL, 10));
    store_commit(&store);
    store_close(&store);
}

/* Faults of calls strike in the stand-in for libkx, all others in the module. */
static void add_fault(struct gateway_session *session, const char *rule)
{
    struct gateway_fault *fault = &session->faults[session->fault_count];
    const char *wrong = session->fault_count == GATEWAY_FAULTS ? "too many" : gateway_read_fault(rule, fault);

    if (wrong != NULL) {
        fprintf(stderr, "kxqos-rig: --fault %s: %s\n", rule, wrong);
        exit(2);
    }
    if (fault->where == GATEWAY_CALL)
        session->fault_count++;
    else
        control("fault ", rule);
}

static void write_session(const struct gateway_session *session)
{
    const int fd = open(SESSION, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);

    if (fd < 0 || write(fd, session, sizeof *session) != (ssize_t)sizeof *session)
        give_up(SESSION);
    close(fd);
}

static int run(char **command)
{
    pid_t child;
    int status;

    errno = posix_spawnp(&child, command[0], NULL, NULL, command, environ);
    if (errno != 0)
        give_up(command[0]);
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            give_up("wait");
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

static void fetch_trace(const char *path)
{
    static char buffer[1 << 16];
    const int from = open(CONTROL, O_RDONLY | O_CLOEXEC);
    const int to = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    ssize_t length;

    if (from < 0 || to < 0)
        give_up(path);
    while ((length = read(from, buffer, sizeof buffer)) > 0) {
        if (write(to, buffer, (size_t)length) != length)
            give_up(path);
    }
    if (length < 0)
        give_up("the trace");
    close(from);
    close(to);
}

int main(int argc, char **argv)
{
    static struct gateway_session session;
    const char *state = "/run/kxqos-rig.state";
    const char *trace = NULL;
    int i;
    int status;

    control("begin", "");
    for (i = 1; i < argc && strncmp(argv[i], "--", 2) == 0 && argv[i][2] != '\0'; i += 2) {
        if (strcmp(argv[i], "--reboot") == 0) {
            reboot(state);
            return 0;
        }
        if (i + 1 == argc)
            break;
        if (strcmp(argv[i], "--state") == 0)
            state = argv[i + 1];
        else if (strcmp(argv[i], "--trace") == 0)
            trace = argv[i + 1];
        else if (strcmp(argv[i], "--fault") == 0)
            add_fault(&session, argv[i + 1]);
        else if (strcmp(argv[i], "--traffic") == 0)
            offer(state, argv[i + 1]);
        else
            break;
    }
    if (i < argc && strcmp(argv[i], "--") == 0)
        i++;
    if (i >= argc || argv[i][0] == '-') {
        fprintf(stderr, "usage: kxqos-rig [--state FILE] [--trace FILE] [--fault RULE]... [--traffic N] [--] COMMAND "
                        "[ARG...] | kxqos-rig [--state FILE] --reboot\n");
        return 2;
    }

    setenv(LAB_STATE, state, 1);
    setenv(LAB_TRACE, CONTROL, 1);
    if (session.fault_count != 0) {
        write_session(&session);
        setenv(LAB_SESSION, SESSION, 1);
    }
    status = run(&argv[i]);
    if (trace != NULL)
        fetch_trace(trace);
    control("end", "");
    return status;
}
