#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
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
           header->size == new_header.size && header->active[STORE_MODULE] <= 2 && header->active[STORE_LIBRARY] <= 2;
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

static void *image(struct store *store, enum store_half half, uint32_t place)
{
    return half == STORE_MODULE ? (void *)&store->file->modules[place] : &store->file->libraries[place];
}

/* The place of the image in force, of an open file; the other one is spare. */
static uint32_t place(const struct store *store, enum store_half half)
{
    return store->file->header.active[half] - 1;
}

static void put_in_force(struct store *store, enum store_half half, uint32_t active)
{
    __atomic_store_n(&store->file->header.active[half], active, __ATOMIC_RELEASE);
}

/* Makes a half that was just switched on what it is at first. */
static void switch_on(struct store *store, enum store_half half)
{
    if (store->file->header.active[half] != 0)
        return;
    if (half == STORE_MODULE)
        model_init(image(store, half, 0));
    else
        library_init(image(store, half, 0));
    put_in_force(store, half, 1);
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
    switch_on(store, STORE_MODULE);
    switch_on(store, STORE_LIBRARY);
    return true;
}

void store_close(struct store *store)
{
    munmap(store->file, sizeof *store->file);
    flock(store->fd, LOCK_UN); /* a child forked by another thread may hold the descriptor for a while yet */
    close(store->fd);
}

void *store_current(struct store *store, enum store_half half)
{
    return image(store, half, place(store, half));
}

void *store_begin(struct store *store, enum store_half half)
{
    const size_t size = half == STORE_MODULE ? sizeof(struct model) : sizeof(struct library);

    return memcpy(image(store, half, 1 - place(store, half)), store_current(store, half), size);
}

void store_commit(struct store *store, enum store_half half)
{
    put_in_force(store, half, 2 - place(store, half));
}

void store_reset(struct store *store)
{
    put_in_force(store, STORE_MODULE, 0);
    put_in_force(store, STORE_LIBRARY, 0);
    switch_on(store, STORE_MODULE);
    switch_on(store, STORE_LIBRARY);
}
