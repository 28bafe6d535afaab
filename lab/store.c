#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

/* To be raised when a record changes its meaning but not its size. */
enum { version = 1 };

static const struct store_header new_header = {"kxqos-lab state", version, sizeof(struct store_file), 0, {0}};

/* Descriptors 0 to 2 may be closed; what is then written to them must not land in the file. */
static int above_standard(int fd)
{
    int moved;

    if (fd < 0 || fd > STDERR_FILENO)
        return fd;
    moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(fd);
    return moved;
}

static bool lock(int fd)
{
    while (flock(fd, LOCK_EX) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

static bool is_ours(const struct store_header *header)
{
    return memcmp(header->magic, new_header.magic, sizeof header->magic) == 0 && header->version == version &&
           header->size == new_header.size && header->active <= 2;
}

/* Makes a state file of an empty one. The header comes first, so that a file cut short by a kill is known as ours. */
static bool prepare(int fd)
{
    struct store_header header;
    struct stat status;

    if (fstat(fd, &status) != 0)
        return false;
    if (S_ISREG(status.st_mode) && status.st_size == 0) {
        if (pwrite(fd, &new_header, sizeof new_header, 0) != (ssize_t)sizeof new_header)
            return false;
        status.st_size = sizeof new_header;
    }
    if (!S_ISREG(status.st_mode) || pread(fd, &header, sizeof header, 0) != (ssize_t)sizeof header ||
        !is_ours(&header) ||
        (status.st_size != (off_t)sizeof header && status.st_size != (off_t)sizeof(struct store_file))) {
        errno = EMEDIUMTYPE;
        return false;
    }
    return status.st_size != (off_t)sizeof header || ftruncate(fd, sizeof(struct store_file)) == 0;
}

bool store_open(struct store *store, const char *path)
{
    void *mapping = MAP_FAILED;
    int error;

    store->fd = above_standard(open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (store->fd < 0)
        return false;
    if (lock(store->fd) && prepare(store->fd))
        mapping = mmap(NULL, sizeof(struct store_file), PROT_READ | PROT_WRITE, MAP_SHARED, store->fd, 0);
    if (mapping == MAP_FAILED) {
        error = errno;
        close(store->fd);
        errno = error;
        return false;
    }
    store->file = mapping;
    if (store->file->header.active == 0) {
        store_begin(store);
        store_commit(store);
    }
    return true;
}

void store_close(struct store *store)
{
    munmap(store->file, sizeof *store->file);
    flock(store->fd, LOCK_UN); /* a child forked by another thread may hold the descriptor for a while yet */
    close(store->fd);
}

struct state *store_current(struct store *store)
{
    return &store->file->images[store->file->header.active - 1];
}

/* The place of the image that is not in force. */
static uint32_t spare(const struct store *store)
{
    return store->file->header.active == 1 ? 1 : 0;
}

struct state *store_begin(struct store *store)
{
    struct state *copy = &store->file->images[spare(store)];

    if (store->file->header.active == 0) {
        model_init(&copy->module);
        library_init(&copy->library);
    } else {
        memcpy(copy, store_current(store), sizeof *copy);
    }
    return copy;
}

void store_commit(struct store *store)
{
    __atomic_store_n(&store->file->header.active, spare(store) + 1, __ATOMIC_RELEASE);
}

void store_reset(struct store *store)
{
    __atomic_store_n(&store->file->header.active, 0, __ATOMIC_RELEASE);
    store_begin(store);
    store_commit(store);
}
