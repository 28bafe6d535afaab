/* The state file: what the module and the library hold, shared by every process of the lab.
 *
 * A change of either is made on a copy and then put in force by one store, so that a process killed at any moment
 * leaves the state before or the state after. (To forget everything is a change of the one and then of the other.) The
 * lock is the kernel's and ends with the process.
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
    struct store_file *file;
};

/* Opens a state file, made if it is not there, and waits for its lock. On failure gives false and errno, EMEDIUMTYPE
 * for a file that is no state file of this version: that is left alone. */
bool store_open(struct store *store, const char *path);
void store_close(struct store *store);

/* What is in force: a struct model or a struct library. */
void *store_current(struct store *store, enum store_half half);

/* A copy of what is in force, to be changed; store_commit puts it in force. */
void *store_begin(struct store *store, enum store_half half);
void store_commit(struct store *store, enum store_half half);

/* Forgets everything. */
void store_reset(struct store *store);

#endif
