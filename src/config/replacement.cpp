#include "replacement.h"

#include "message.h"
#include "signals.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static bool refuse(const char *file, const char *wrong)
{
    say("%s: %s; it is left as it was", file, wrong);
    return false;
}

// Sets file to where a link leads to, and *status to the old file's; its mode is 0 when there is none.
static bool find_file(const char *name, replacement *replacement, struct stat *status)
{
    if (realpath(name, replacement->file) == nullptr) {
        if (errno != ENOENT || lstat(name, status) == 0)
            return refuse(name, strerror(errno));
        const size_t size = strlen(name) + 1;
        if (size > sizeof replacement->file)
            return refuse(name, strerror(ENAMETOOLONG));
        memcpy(replacement->file, name, size);
        status->st_mode = 0;
        return true;
    }
    if (lstat(replacement->file, status) != 0) // no link any more
        return refuse(name, strerror(errno));
    return S_ISREG(status->st_mode) || refuse(name, "not a regular file");
}

// A new file is for all to read, as the umask permits.
static mode_t mode_of(const struct stat &old)
{
    if (old.st_mode != 0)
        return old.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0644 & ~mask;
}

static bool take_after(int fd, const struct stat &old)
{
    struct stat made;
    if (fstat(fd, &made) != 0)
        return false;
    const bool owned = old.st_mode == 0 || (old.st_uid == made.st_uid && old.st_gid == made.st_gid);
    return (owned || fchown(fd, old.st_uid, old.st_gid) == 0) && fchmod(fd, mode_of(old)) == 0;
}

bool begin_replacement(const char *name, replacement *replacement)
{
    struct stat old;
    if (!find_file(name, replacement, &old))
        return false;
    snprintf(replacement->temporary, sizeof replacement->temporary, "%s.saving", replacement->file);
    hold_signals();
    unlink(replacement->temporary);
    // Whatever else has that name is left alone, wherever it leads to.
    const int fd = open(replacement->temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return refuse(replacement->file, strerror(errno));
    if (!take_after(fd, old) || dup2(fd, STDOUT_FILENO) < 0) {
        const int error = errno;
        unlink(replacement->temporary);
        return refuse(replacement->file, strerror(error));
    }
    close(fd);
    return true;
}

// Leaves of the name of the file its folder's.
static bool sync_folder(char *file)
{
    size_t size = strlen(file);
    while (size > 0 && file[size - 1] != '/')
        size--;
    file[size] = '\0';
    const int fd = open(*file != '\0' ? file : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return fd >= 0 && fsync(fd) == 0 && close(fd) == 0;
}

bool finish_replacement(replacement *replacement, bool written)
{
    const char *file = replacement->file;
    if (!written || fsync(STDOUT_FILENO) != 0 || rename(replacement->temporary, file) != 0) {
        const int error = errno;
        unlink(replacement->temporary);
        refuse(file, strerror(error));
        release_signals();
        return false;
    }
    const bool synced = sync_folder(replacement->temporary);
    if (!synced)
        say("%s: saved, but perhaps not on the disk yet: %s", file, strerror(errno));
    release_signals();
    return synced;
}
