#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/* To be raised when a record changes its meaning but not its size. */
enum { version = 2 };

static const struct store_header new_header = {"kxqos-lab state", version, sizeof(struct store_file), {0}, {0}};

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

/* Locks or unlocks the whole file, for all who have it open. flock is left to those who use the device. */
static bool set_lock(int fd, short type)
{
    struct flock whole = {.l_type = type, .l_whence = SEEK_SET};

    while (fcntl(fd, F_OFD_SETLKW, &whole) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

static bool is_ours(const struct store_header *header)
{
    return memcmp(header->magic, new_header.magic, sizeof header->magic) == 0 && header->version == version &&
           header->size == new_header.size && header->active[STORE_MODULE] <= 2 && header->active[STORE_LIBRARY] <= 2;
}

static bool read_from(int fd, void *bytes, size_t size, size_t place)
{
    const ssize_t got = pread(fd, bytes, size, (off_t)place);

    if (got >= 0 && got != (ssize_t)size)
        errno = EMEDIUMTYPE;
    return got == (ssize_t)size;
}

static bool write_to(int fd, const void *bytes, size_t size, size_t place)
{
    const ssize_t put = pwrite(fd, bytes, size, (off_t)place);

    if (put >= 0 && put != (ssize_t)size)
        errno = ENOSPC;
    return put == (ssize_t)size;
}

/* In a folder that everyone may write, a file of this name may be anybody's, or a second name of another file of this
 * user. */
static bool is_safe(int fd)
{
    struct stat status;

    if (fstat(fd, &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = EMEDIUMTYPE;
        return false;
    }
    errno = EPERM;
    return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0 && status.st_nlink == 1;
}

/* Makes a state file of an empty one. The header comes first, so that a file cut short by a kill is known as ours. */
static bool prepare(int fd, struct store_header *header)
{
    struct stat status;

    if (fstat(fd, &status) != 0)
        return false;
    if (status.st_size == 0) {
        if (!write_to(fd, &new_header, sizeof new_header, 0))
            return false;
        status.st_size = sizeof new_header;
    }
    if (!read_from(fd, header, sizeof *header, 0))
        return false;
    if (!is_ours(header) ||
        (status.st_size != (off_t)sizeof *header && status.st_size != (off_t)sizeof(struct store_file))) {
        errno = EMEDIUMTYPE;
        return false;
    }
    return status.st_size != (off_t)sizeof *header || ftruncate(fd, sizeof(struct store_file)) == 0;
}

bool store_open(struct store *store, const char *path)
{
    struct store_header header;
    int error;

    store->fd = above_standard(open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (store->fd < 0)
        return false;
    if (!is_safe(store->fd) || !set_lock(store->fd, F_WRLCK) || !prepare(store->fd, &header)) {
        error = errno;
        close(store->fd);
        errno = error;
        return false;
    }
    memcpy(store->active, header.active, sizeof store->active);
    return true;
}

void store_close(struct store *store)
{
    set_lock(store->fd, F_UNLCK); /* a child forked by another thread may hold the descriptor for a while yet */
    close(store->fd);
}

/* The images */

/* The copies belong to whoever holds the lock. They are large for the stack of a thread. */
static struct model module;
static struct library library;

static void *copy_of(enum store_half half)
{
    return half == STORE_MODULE ? (void *)&module : &library;
}

static size_t size_of(enum store_half half)
{
    return half == STORE_MODULE ? sizeof module : sizeof library;
}

/* Where an image, 0 or 1, lies in the file. */
static size_t place_of(enum store_half half, uint32_t image)
{
    const size_t first =
        half == STORE_MODULE ? offsetof(struct store_file, modules) : offsetof(struct store_file, libraries);

    return first + image * size_of(half);
}

/* The image that is not in force. */
static uint32_t spare(const struct store *store, enum store_half half)
{
    return store->active[half] == 1 ? 1 : 0;
}

void *store_begin(struct store *store, enum store_half half)
{
    const uint32_t active = store->active[half];

    if (active != 0)
        return read_from(store->fd, copy_of(half), size_of(half), place_of(half, active - 1)) ? copy_of(half) : NULL;
    if (half == STORE_MODULE)
        model_init(&module);
    else
        library_init(&library);
    return copy_of(half);
}

static bool put_in_force(const struct store *store)
{
    return write_to(store->fd, store->active, sizeof store->active, offsetof(struct store_header, active));
}

bool store_write(const struct store *store, enum store_half half)
{
    return write_to(store->fd, copy_of(half), size_of(half), place_of(half, spare(store, half)));
}

bool store_commit(struct store *store, enum store_half half)
{
    const uint32_t image = spare(store, half);

    if (!store_write(store, half))
        return false;
    store->active[half] = image + 1;
    return put_in_force(store);
}

bool store_reset(struct store *store)
{
    memset(store->active, 0, sizeof store->active);
    return put_in_force(store);
}
