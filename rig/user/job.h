/* What rig/user/ask.c sends to rig/user/resident.c: this head, with the open ones of descriptors 0 to 2 beside it, then
 * the words and the variables, each terminated. The answer is the wait status, an int. */
#ifndef RIG_JOB_H
#define RIG_JOB_H

#include <stddef.h>
#include <stdint.h>

struct job_head {
    uint32_t length; /* of the words and variables together */
    uint32_t words;
    uint32_t variables;
    uint8_t open[3];
    uint8_t ignores_sigpipe;
};

#endif
