#include "event.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

const char *lab_variable(const char *name)
{
    const char *value = getenv(name);

    return value != NULL && value[0] != '\0' ? value : NULL;
}

/* Like the images of the state, read and written under the lock and not mapped. */
static struct gateway_session session;

static int open_session(void)
{
    const char *path = lab_variable(LAB_SESSION);

    return path == NULL ? -1 : open(path, O_RDWR | O_CLOEXEC);
}

/* The bytes of the faults that there are. */
static size_t faults_size(void)
{
    return session.fault_count * sizeof session.faults[0];
}

/* Null when there is none: a session ends with the kxqos-lab that began it, whatever still runs. */
static struct gateway_session *read_session(void)
{
    const off_t first = offsetof(struct gateway_session, faults);
    const int fd = open_session();
    bool whole;

    if (fd < 0)
        return NULL;
    whole = pread(fd, &session, (size_t)first, 0) == first && session.fault_count <= GATEWAY_FAULTS &&
            pread(fd, session.faults, faults_size(), first) == (ssize_t)faults_size();
    close(fd);
    return whole ? &session : NULL;
}

void event_keep_session(const struct event *event)
{
    const int fd = event->session == NULL ? -1 : open_session();

    if (fd < 0)
        return;
    if (pwrite(fd, session.faults, faults_size(), offsetof(struct gateway_session, faults)) < 0)
        errno = 0; /* nothing can be done about it */
    close(fd);
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
    const int fd = path == NULL || line->length == 0 ? -1 : open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
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

bool event_is_seen(void)
{
    return lab_variable(LAB_TRACE) != NULL || lab_variable(LAB_SESSION) != NULL;
}

bool event_begin(struct event *event)
{
    const char *path = lab_variable(LAB_STATE);

    if (path == NULL) {
        errno = ENOENT;
        return false;
    }
    if (!store_open(&event->store, path))
        return false;
    event->session = read_session();
    event_drop_line(event);
    return true;
}

void event_drop_line(struct event *event)
{
    event->line.text = text_in(event->line.buffer, sizeof event->line.buffer);
}

void event_end(struct event *event)
{
    write_trace(&event->line.text);
    event_keep_session(event);
    store_close(&event->store);
}
