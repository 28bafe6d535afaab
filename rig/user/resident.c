/* Preloaded into a program under user-mode emulation: keeps it, started, in memory, and runs its main as often as it is
 * asked to, each time in a process forked for that.
 *
 * The emulator translates a program anew for each start, and nine tenths of that is the loader's and the C library's
 * own beginning. A forked process has it done already. The program, its libraries and its main are what they would be.
 *
 * KXQOS_RIG_SOCKET names the socket to listen on; rig/user/ask.c is what asks. KXQOS_RIG_WARM_UP names a file of
 * commands, a line each, that main is first given in this process, so that what they need is translated when it forks.
 * After each of them all memory is put back as it was: no forked process sees a trace of them.
 */
#include "before_main.h"
#include "job.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

static int errors = STDERR_FILENO; /* moved up before the descriptors of a job take its place */

static _Noreturn void give_up(const char *what)
{
    dprintf(errors, "resident: %s: %s\n", what, strerror(errno));
    _exit(126);
}

/* What a process is to run, and with what. */
struct job {
    struct job_head head;
    int descriptors[3]; /* of those that are open, in order */
    char text[1 << 17]; /* the words and variables, terminated */
};

static struct job job;

/* The standard descriptors come with the head, those of them that are open. */
static void receive(int connection)
{
    char control[CMSG_SPACE(3 * sizeof(int))];
    struct iovec into = {&job.head, sizeof job.head};
    struct msghdr message = {
        .msg_iov = &into, .msg_iovlen = 1, .msg_control = control, .msg_controllen = sizeof control};
    const struct cmsghdr *rights;
    size_t have = 0;

    if (recvmsg(connection, &message, MSG_WAITALL) != (ssize_t)sizeof job.head || job.head.length > sizeof job.text)
        give_up("recvmsg");
    rights = CMSG_FIRSTHDR(&message);
    if (rights != NULL)
        memcpy(job.descriptors, CMSG_DATA(rights), rights->cmsg_len - CMSG_LEN(0));
    while (have < job.head.length) {
        const ssize_t got = read(connection, job.text + have, job.head.length - have);
        if (got <= 0)
            give_up("read");
        have += (size_t)got;
    }
}

static void close_received(void)
{
    for (int i = 0; i < job.head.open[0] + job.head.open[1] + job.head.open[2]; i++)
        close(job.descriptors[i]);
}

static int run(void)
{
    static char *argv[4096];
    char *word = job.text;
    int next = 0;

    for (int fd = 0; fd < 3; fd++) {
        if (job.head.open[fd])
            dup2(job.descriptors[next++], fd);
        else
            close(fd);
    }
    close_received();
    if (job.head.words >= sizeof argv / sizeof argv[0])
        give_up("too many words");
    for (uint32_t i = 0; i < job.head.words; i++, word += strlen(word) + 1)
        argv[i] = word;
    for (uint32_t i = 0; i < job.head.variables; i++, word += strlen(word) + 1)
        putenv(word);
    signal(SIGPIPE, job.head.ignores_sigpipe ? SIG_IGN : SIG_DFL);
    return program((int)job.head.words, argv, environ);
}

/* The warm-up */

struct region {
    char *start;
    size_t size;
    char *copy;
};

static struct region regions[64];
static size_t region_count;

static char *new_pages(size_t size)
{
    char *pages = mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

    if (pages == MAP_FAILED)
        give_up("mmap");
    return pages;
}

/* All of a file, in memory that is not the program's. */
static char *contents(const char *path)
{
    enum { most = 1 << 20 };
    char *text = new_pages(most);
    const int fd = open(path, O_RDONLY);
    ssize_t got = fd < 0 ? -1 : 1;

    for (size_t have = 0; got > 0; have += (size_t)got)
        got = read(fd, text + have, most - 1 - have);
    if (got < 0)
        give_up(path);
    close(fd);
    return text;
}

/* What may be written and is nobody else's, but for the stack: what main leaves there is not read again. */
static void find_regions(void)
{
    char *line = contents("/proc/self/maps");
    unsigned long start;
    unsigned long end;
    char mode[5];

    for (; line != NULL && *line != '\0'; line = strchr(line, '\n'), line += line != NULL) {
        if (sscanf(line, "%lx-%lx %4s", &start, &end, mode) != 3 || strcmp(mode, "rw-p") != 0 ||
            (start <= (unsigned long)mode && (unsigned long)mode < end))
            continue;
        if (region_count == sizeof regions / sizeof regions[0])
            give_up("too much memory to copy");
        regions[region_count].start = (char *)start;
        regions[region_count++].size = end - start;
    }
    for (size_t i = 0; i < region_count; i++)
        regions[i].copy = new_pages(regions[i].size);
}

static void keep_memory(void)
{
    for (size_t i = 0; i < region_count; i++)
        memcpy(regions[i].copy, regions[i].start, regions[i].size);
}

static void restore_memory(void)
{
    for (size_t i = 0; i < region_count; i++)
        memcpy(regions[i].start, regions[i].copy, regions[i].size);
}

/* The words of a line, and the variables of the lab, which a job has too. */
static void warm_up_with(const char *line)
{
    char *end;

    memset(&job, 0, sizeof job.head);
    for (size_t i = 0; i < sizeof job.head.open; i++) {
        job.head.open[i] = 1;
        job.descriptors[i] = open("/dev/null", O_RDWR);
    }
    strcpy(job.text, line);
    for (char *blank = job.text; blank != NULL; blank = strchr(blank, ' ')) {
        if (*blank == ' ')
            *blank++ = '\0';
        job.head.words++;
    }
    end = job.text + strlen(line) + 1;
    for (char **variable = environ; *variable != NULL; variable++) {
        if (strncmp(*variable, "KXQOS_LAB_", 10) == 0) {
            end = stpcpy(end, *variable) + 1;
            job.head.variables++;
        }
    }
    keep_memory();
    run();
    fflush(NULL);
    restore_memory();
}

/* The list of variables comes from the stack, and putenv may change it in place. */
static void move_environment(void)
{
    static char *variables[256];

    for (size_t i = 0; environ[i] != NULL; i++) {
        if (i + 1 == sizeof variables / sizeof variables[0])
            give_up("too many variables");
        variables[i] = environ[i];
    }
    environ = variables;
}

static void warm_up(const char *path)
{
    char *line;
    char *next;

    move_environment();
    find_regions();
    for (line = contents(path); (next = strchr(line, '\n')) != NULL; line = next) {
        *next++ = '\0';
        warm_up_with(line);
    }
}

static int listen_at(const char *path)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    const size_t length = path == NULL ? 0 : strlen(path);

    if (length == 0 || length >= sizeof address.sun_path)
        give_up("KXQOS_RIG_SOCKET");
    memcpy(address.sun_path, path, length);
    if (listener < 0 || bind(listener, (const struct sockaddr *)&address, sizeof address) != 0 ||
        listen(listener, 16) != 0)
        give_up(path);
    return listener;
}

static int in_place_of_main(int argc, char **argv, char **variables)
{
    int listener;

    (void)argc, (void)argv, (void)variables;
    errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    warm_up(getenv("KXQOS_RIG_WARM_UP"));
    listener = listen_at(getenv("KXQOS_RIG_SOCKET"));
    for (;;) {
        const int connection = accept(listener, NULL, NULL);
        pid_t child;
        int status = 0;

        if (connection < 0)
            give_up("accept");
        receive(connection);
        child = fork();
        if (child < 0)
            give_up("fork");
        if (child == 0) {
            close(listener);
            close(connection);
            close(errors);
            /* What exit would do too, for a program that has left it nothing else. The warm-up goes the same way, so
             * that it is translated already; exit itself would be translated anew each time. */
            status = run();
            fflush(NULL);
            _exit(status);
        }
        close_received();
        while (waitpid(child, &status, 0) < 0 && errno == EINTR)
            continue;
        if (send(connection, &status, sizeof status, MSG_NOSIGNAL) < 0)
            errno = 0; /* whoever asked did not wait */
        close(connection);
    }
}
