/* ask SOCKET PROGRAM [WORD...]: has the program that rig/user/resident.c keeps at SOCKET run with these words, this
 * process's standard descriptors and its variables of the lab, and ends as it ended. */
#include "job.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

static _Noreturn void give_up(const char *what)
{
    fprintf(stderr, "ask: %s: %s\n", what, strerror(errno));
    exit(126);
}

static int connect_to(const char *path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

    /* Not one of the descriptors that are passed on. */
    connection = connection < 0 ? -1 : fcntl(connection, F_DUPFD_CLOEXEC, 3);
    if (connection < 0 || strlen(path) >= sizeof address.sun_path)
        give_up(path);
    strcpy(address.sun_path, path);
    if (connect(connection, (const struct sockaddr *)&address, sizeof address) != 0)
        give_up(path);
    return connection;
}

static void send_head(int connection, struct job_head *head)
{
    char control[CMSG_SPACE(3 * sizeof(int))] = {0};
    struct iovec from = {head, sizeof *head};
    struct msghdr message = {.msg_iov = &from, .msg_iovlen = 1};
    struct cmsghdr *rights = (struct cmsghdr *)control;
    int fds[3];
    size_t count = 0;

    for (int fd = 0; fd < 3; fd++) {
        if (head->open[fd])
            fds[count++] = fd;
    }
    if (count > 0) {
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(count * sizeof(int));
        memcpy(CMSG_DATA(rights), fds, count * sizeof(int));
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(count * sizeof(int));
    }
    if (sendmsg(connection, &message, 0) != (ssize_t)sizeof *head)
        give_up("sendmsg");
}

static void send_words(int connection, char **words, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        const size_t length = strlen(words[i]) + 1;
        size_t sent = 0;
        while (sent < length) {
            const ssize_t more = send(connection, words[i] + sent, length - sent, 0);
            if (more < 0)
                give_up("send");
            sent += (size_t)more;
        }
    }
}

static int end_as(int status)
{
    if (WIFSIGNALED(status)) {
        const struct rlimit no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    return WEXITSTATUS(status);
}

int main(int argc, char **argv)
{
    struct job_head head = {0};
    struct sigaction pipe_action;
    char **variables = calloc(8, sizeof *variables);
    int connection;
    int status;

    if (argc < 3 || variables == NULL) {
        fprintf(stderr, "usage: ask SOCKET PROGRAM [WORD...]\n");
        return 126;
    }
    for (int fd = 0; fd < 3; fd++)
        head.open[fd] = fcntl(fd, F_GETFD) >= 0;
    sigaction(SIGPIPE, NULL, &pipe_action);
    head.ignores_sigpipe = pipe_action.sa_handler == SIG_IGN;
    head.words = (uint32_t)argc - 2;
    for (char **variable = environ; *variable != NULL && head.variables < 8; variable++) {
        if (strncmp(*variable, "KXQOS_LAB_", 10) == 0)
            variables[head.variables++] = *variable;
    }
    for (uint32_t i = 0; i < head.words; i++)
        head.length += (uint32_t)strlen(argv[2 + i]) + 1;
    for (uint32_t i = 0; i < head.variables; i++)
        head.length += (uint32_t)strlen(variables[i]) + 1;

    connection = connect_to(argv[1]);
    send_head(connection, &head);
    send_words(connection, argv + 2, head.words);
    send_words(connection, variables, head.variables);
    if (recv(connection, &status, sizeof status, MSG_WAITALL) != (ssize_t)sizeof status)
        give_up("no answer");
    return end_as(status);
}
