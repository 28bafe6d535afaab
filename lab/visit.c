#include "visit.h"

#include <errno.h>
#include <fcntl.h>
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

/* One write to a descriptor that appends keeps lines whole; the state's lock keeps them in order. */
static void write_trace(const struct text *line)
{
    const char *path = lab_variable(LAB_TRACE);
    const int fd = path == NULL ? -1 : open(path, O_WRONLY | O_APPEND | O_CLOEXEC);

    if (fd < 0)
        return;
    if (write(fd, line->start, line->length) < 0)
        errno = 0; /* a trace that cannot be written must not disturb what is traced */
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
