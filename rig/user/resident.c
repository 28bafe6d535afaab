/* Preloaded into a program under user-mode emulation: keeps it, started, in memory, and runs its main as often as it is
 * asked to, each time in a process forked for that.
 *
 * The emulator translates a program anew for each start, and nine tenths of that is the loader's and the C library's
 * own beginning. A forked process has it done already. The program, its libraries and its main are what they would be.
 *
 * KXQOS_RIG_SOCKET names the socket to listen on; rig/user/ask.c is what asks.
 */
#define _GNU_SOURCE
#include "job.h"

#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

typedef int main_function(int, char **, char **);

extern char **environ;
static main_function *program;

static _Noreturn void give_up(const char *what)
{
    dprintf(STDERR_FILENO, "resident: %s: %s\n", what, strerror(errno));
    _exit(126);
}

/* The standard descriptors come with the head, those of them that are open. */
static void receive_head(int connection, struct job_head *head)
{
    char control[CMSG_SPACE(3 * sizeof(int))];
    struct iovec into = {head, sizeof *head};
    struct msghdr message = {
        .msg_iov = &into, .msg_iovlen = 1, .msg_control = control, .msg_controllen = sizeof control};
    const struct cmsghdr *rights;
    int received[3];
    int next = 0;

    if (recvmsg(connection, &message, MSG_WAITALL) != (ssize_t)sizeof *head)
        give_up("recvmsg");
    rights = CMSG_FIRSTHDR(&message);
    if (rights != NULL)
        memcpy(received, CMSG_DATA(rights), rights->cmsg_len - CMSG_LEN(0));
    for (int fd = 0; fd < 3; fd++) {
        close(fd);
        if (head->open[fd]) {
            dup2(received[next], fd);
            close(received[next++]);
        }
    }
}

static char *receive_words(int connection, size_t length)
{
    char *words = malloc(length + 1);
    size_t have = 0;

    while (words != NULL && have < length) {
        const ssize_t got = read(connection, words + have, length - have);
        if (got <= 0)
            give_up("read");
        have += (size_t)got;
    }
    return words;
}

static _Noreturn void run(int connection)
{
    struct job_head head;
    char *words;
    char **argv;

    receive_head(connection, &head);
    words = receive_words(connection, head.length);
    argv = calloc(head.words + 1, sizeof *argv);
    if (words == NULL || argv == NULL)
        give_up("memory");
    for (uint32_t i = 0; i < head.words; i++, words += strlen(words) + 1)
        argv[i] = words;
    for (uint32_t i = 0; i < head.variables; i++, words += strlen(words) + 1)
        putenv(words);
    close(connection);
    signal(SIGPIPE, head.ignores_sigpipe ? SIG_IGN : SIG_DFL);
    exit(program((int)head.words, argv, environ));
}

static int listen_at(const char *path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);

    if (path == NULL || strlen(path) >= sizeof address.sun_path)
        give_up("KXQOS_RIG_SOCKET");
    strcpy(address.sun_path, path);
    if (listener < 0 || bind(listener, (const struct sockaddr *)&address, sizeof address) != 0 ||
        listen(listener, 16) != 0)
        give_up(path);
    return listener;
}

static int serve(int argc, char **argv, char **variables)
{
    const int listener = listen_at(getenv("KXQOS_RIG_SOCKET"));

    (void)argc, (void)argv, (void)variables;
    for (;;) {
        const int connection = accept(listener, NULL, NULL);
        const pid_t child = connection < 0 ? -1 : fork();
        int status = 0;

        if (child < 0)
            give_up("fork");
        if (child == 0) {
            close(listener);
            run(connection);
        }
        while (waitpid(child, &status, 0) < 0 && errno == EINTR)
            continue;
        if (send(connection, &status, sizeof status, MSG_NOSIGNAL) < 0)
            errno = 0; /* whoever asked did not wait */
        close(connection);
    }
}

/* The first thing that a program calls, to have its main run. */
int __libc_start_main(main_function *main, int argc, char **argv, void (*init)(void), void (*fini)(void),
                      void (*loader_fini)(void), void *stack_end)
{
    int (*next)(main_function *, int, char **, void (*)(void), void (*)(void), void (*)(void), void *);
    void *address = dlsym(RTLD_NEXT, "__libc_start_main");

    memcpy(&next, &address, sizeof next);
    program = main;
    return next(serve, argc, argv, init, fini, loader_fini, stack_end);
}
