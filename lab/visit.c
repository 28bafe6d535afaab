#include "visit.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

const char *lab_variable(const char *name)
{
    const char *value = getenv(name);

    return value != NULL && value[0] != '\0' ? value : NULL;
}

/* Null when there is none: a session ends with the kxqos-lab that began it, whatever still runs. */
static struct gateway_session *map_session(void)
{
    const char *path = lab_variable(LAB_SESSION);
    const int fd = path == NULL ? -1 : open(path, O_RDWR | O_CLOEXEC);
    void *mapping = MAP_FAILED;
    struct stat status;

    if (fd < 0)
        return NULL;
    if (fstat(fd, &status) == 0 && status.st_size == (off_t)sizeof(struct gateway_session))
        mapping = mmap(NULL, sizeof(struct gateway_session), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return mapping == MAP_FAILED ? NULL : mapping;
}

/* True when the last line of a trace was cut off: its writer was killed, or the disk was full. */
static bool is_unfinished(int fd, const char *path)
{
    struct stat status;
    char last = '\n';
    int reader;

    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return false;
    reader = open(path, O_RDONLY | O_CLOEXEC);
    if (reader < 0)
        return false;
    if (pread(reader, &last, 1, status.st_size - 1) != 1)
        last = '\n';
    close(reader);
    return last != '\n';
}

/* A trace that cannot be written must not disturb what is traced. */
static void append(int fd, const char *text, size_t length)
{
    if (write(fd, text, length) < 0)
        errno = 0;
}

/* One write to a descriptor that appends keeps lines whole; the state's lock keeps them in order. A signal that ends
 * the process stops a write after any page, so signals wait until the line is written. SIGKILL does not. */
static void write_trace(const struct text *line)
{
    const char *path = lab_variable(LAB_TRACE);
    const int fd = path == NULL ? -1 : open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
    sigset_t all;
    sigset_t before;

    if (fd < 0)
        return;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    if (is_unfinished(fd, path))
        append(fd, LAB_UNFINISHED, strlen(LAB_UNFINISHED));
    append(fd, line->start, line->length);
    pthread_sigmask(SIG_SETMASK, &before, NULL);
    close(fd);
}

bool visit_is_seen(void)
{
    return lab_variable(LAB_TRACE) != NULL || lab_variable(LAB_SESSION) != NULL;
}

bool visit_begin(struct visit *visit)
{
    const char *path = lab_variable(LAB_STATE);

    if (path == NULL) {
        errno = ENOENT;
        return false;
    }
    if (!store_open(&visit->store, path))
        return false;
    visit->session = map_session();
    return true;
}

void visit_end(struct visit *visit)
{
    write_trace(&visit->line.text);
    if (visit->session != NULL)
        munmap(visit->session, sizeof *visit->session);
    store_close(&visit->store);
}
