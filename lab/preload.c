/* libkxqos-lab.so, preloaded: open, ioctl and close of exactly /dev/kxqos become events of the lab, and everything else
 * goes where it would have gone. The device's descriptor is a real one, of the state file, so that it has the number
 * that the device's would have, and so that a lock on it (flock) is between those who have this gateway open; a
 * duplicate of it is not followed. */
#include "event.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <sys/ioctl.h>
#include <unistd.h>

#undef open64

#ifdef __GLIBC__
typedef unsigned long ioctl_request;
#else
typedef int ioctl_request;
#endif

#define EXPORTED __attribute__((visibility("default")))

enum { descriptors = 1 << 16 };

static atomic_uchar is_device[descriptors];

static bool device(int fd)
{
    return fd >= 0 && fd < descriptors && atomic_load(&is_device[fd]) != 0;
}

/* The function that would have been called without this library. */
static void find_next(const char *name, void *function)
{
    void *address = dlsym(RTLD_NEXT, name);

    memcpy(function, &address, sizeof address);
}

static int real_open(const char *path, int flags, mode_t mode)
{
    static int (*next)(const char *, int, ...);

    if (next == NULL)
        find_next("open", &next);
    return next(path, flags, mode);
}

static int real_open64(const char *path, int flags, mode_t mode)
{
    static int (*next)(const char *, int, ...);

    if (next == NULL)
        find_next("open64", &next);
    return next(path, flags, mode);
}

static int real_ioctl(int fd, ioctl_request request, void *argument)
{
    static int (*next)(int, ioctl_request, ...);

    if (next == NULL)
        find_next("ioctl", &next);
    return next(fd, request, argument);
}

static int real_close(int fd)
{
    static int (*next)(int);

    if (next == NULL)
        find_next("close", &next);
    return next(fd);
}

static bool is_lab_device(const char *path)
{
    return path != NULL && text_same(path, KXQOS_DEVICE) && lab_variable(LAB_STATE) != NULL;
}

/* The descriptor comes first, so that it is the lowest free one. */
static int open_device(int flags)
{
    const int before = errno;
    const int fd =
        real_open(lab_variable(LAB_STATE), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | (flags & O_CLOEXEC), 0600);
    struct event event;
    int result;

    if (fd < 0)
        return -1;
    if (fd >= descriptors) {
        result = -EMFILE;
    } else if (!event_is_seen()) {
        result = 0;
    } else if (!event_begin(&event)) {
        result = -errno;
    } else {
        result = gateway_open(event.session, flags, &event.line);
        event_end(&event);
    }
    if (result < 0) {
        real_close(fd);
        errno = -result;
        return -1;
    }
    atomic_store(&is_device[fd], 1);
    errno = before;
    return fd;
}

/* Carries out a request; a null payload is one that could not be read. */
static int carry_out(struct event *event, uint32_t request, void *payload)
{
    struct store *store = &event->store;
    struct model *model = store_begin(store, STORE_MODULE);
    bool killed = false;
    int result;

    if (model == NULL)
        return -errno;
    result = gateway_request(event->session, model, request, payload, &event->line, &killed);
    if (killed) {
        store_write(store, STORE_MODULE);
        event_keep_session(event);
        kill(getpid(), SIGKILL);
    }
    if (model_changes(request) && !store_commit(store, STORE_MODULE)) {
        result = -errno;
        event_drop_line(event);
    }
    return result;
}

/* The payload comes and goes through the state file by pwrite and pread, which fail with EFAULT on a bad pointer as a
 * module's copies do. */
static bool copy_through(const struct store *store, void *to, const void *from, size_t size)
{
    const off_t place = offsetof(struct store_file, payload);

    return size == 0 || (pwrite(store->fd, from, size, place) == (ssize_t)size &&
                         pread(store->fd, to, size, place) == (ssize_t)size);
}

static int request_device(uint32_t request, void *argument)
{
    const int before = errno;
    const size_t size = model_payload_size(request);
    uint64_t payload[(MODEL_PAYLOAD_MAX + 7) / 8];
    struct event event;
    int result;

    if (!event_begin(&event))
        return -1;
    if (!copy_through(&event.store, payload, argument, size)) {
        result = carry_out(&event, request, NULL);
    } else {
        result = carry_out(&event, request, payload);
        if (!copy_through(&event.store, argument, payload, size))
            result = -EFAULT;
    }
    event_end(&event);
    errno = result < 0 ? -result : before;
    return result < 0 ? -1 : result;
}

static void close_device(int fd)
{
    const int before = errno;
    struct event event;

    atomic_store(&is_device[fd], 0);
    if (event_is_seen() && event_begin(&event)) {
        gateway_close(&event.line);
        event_end(&event);
    }
    errno = before;
}

/* The mode is there only for a call that may make a file. */
static bool has_mode(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

EXPORTED int open(const char *file, int oflag, ...)
{
    mode_t mode = 0;
    va_list rest;

    if (has_mode(oflag)) {
        va_start(rest, oflag);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return is_lab_device(file) ? open_device(oflag) : real_open(file, oflag, mode);
}

EXPORTED int open64(const char *file, int oflag, ...)
{
    mode_t mode = 0;
    va_list rest;

    if (has_mode(oflag)) {
        va_start(rest, oflag);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return is_lab_device(file) ? open_device(oflag) : real_open64(file, oflag, mode);
}

#ifdef __GLIBC__
/* What clang calls in place of open and open64 with _FORTIFY_SOURCE, from glibc 2.40 on. */
EXPORTED int open_checked(const char *file, int oflag) __asm__("__open_2");
EXPORTED int open64_checked(const char *file, int oflag) __asm__("__open64_2");

int open_checked(const char *file, int oflag)
{
    static int (*next)(const char *, int);

    if (is_lab_device(file))
        return open_device(oflag);
    if (next == NULL)
        find_next("__open_2", &next);
    return next(file, oflag);
}

int open64_checked(const char *file, int oflag)
{
    static int (*next)(const char *, int);

    if (is_lab_device(file))
        return open_device(oflag);
    if (next == NULL)
        find_next("__open64_2", &next);
    return next(file, oflag);
}
#endif

EXPORTED int ioctl(int fd, ioctl_request request, ...)
{
    va_list rest;
    void *argument;

    va_start(rest, request);
    argument = va_arg(rest, void *);
    va_end(rest);
    return device(fd) ? request_device((uint32_t)request, argument) : real_ioctl(fd, request, argument);
}

EXPORTED int close(int fd)
{
    if (device(fd))
        close_device(fd);
    return real_close(fd);
}
