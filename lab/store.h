/* The state file: what the module and the library hold, shared by every process of the lab.
 *
 * A change of either is written to a spare image, which one small write then puts in force, so that a process killed at
 * any moment leaves the state before or the state after. The lock is the kernel's and ends with the process.
 *
 * The file is read and written, never mapped: whatever becomes of it, a mapping of it could end the process that looks
 * at it. Nothing in it is trusted to be within its bounds.
 */
#ifndef LAB_STORE_H
#define LAB_STORE_H

#include "gateway.h"
#include "library.h"
#include "model.h"

enum store_half { STORE_MODULE, STORE_LIBRARY };

struct store_header {
    char magic[16];
    uint32_t version;
    uint32_t size;      /* of the whole file */
    uint32_t active[2]; /* of each half, the image in force, 1 or 2; 0 when the gateway was just switched on */
    uint32_t padding[8];
};

struct store_file {
    struct store_header header;
    uint64_t payload[(MODEL_PAYLOAD_MAX + 7) / 8]; /* of the request in progress */
    struct model modules[2];
    struct library libraries[2];
};

/* An open and locked state file. */
struct store {
    int fd;
    uint32_t active[2]; /* as in the file's header */
};

/* Opens a state file, made if it is not there, and waits for its lock. On failure gives false and errno: EMEDIUMTYPE
 * for a file that is no state file of this version, ELOOP for a link, EPERM for a file that others own, may write or
 * know by another name. All of these are left alone. */
bool store_open(struct store *store, const char *path);
void store_close(struct store *store);

/* A copy of what is in force, a struct model or a struct library, which is there until store_close. Null and errno if
 * the file was cut short. */
void *store_begin(struct store *store, enum store_half half);

/* Writes the copy to the spare image, and puts that in force. Give false and errno if the copy cannot be written; what
 * was in force stays so. */
bool store_write(const struct store *store, enum store_half half);
bool store_commit(struct store *store, enum store_half half);

/* Forgets everything. */
bool store_reset(struct store *store);

#endif
