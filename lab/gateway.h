/* The gateway as its users see it: the model behind open, request and close, and the library's calls, with the trace of
 * what happened and with faults. Freestanding, for user space and for the kernel; the caller does the locking.
 * lab/README.md tells how the trace reads and what the faults mean.
 */
#ifndef LAB_GATEWAY_H
#define LAB_GATEWAY_H

#include "model.h"
#include "text.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    GATEWAY_FAULTS = 128,
    GATEWAY_FUNCTION_NAME = 48,
    GATEWAY_OUTPUTS = 6, /* the most numbers that a function of the library gives */
    GATEWAY_LINE = 4096  /* the longest line of a trace is a rate-limit request's, of about 2500 */
};

enum gateway_where { GATEWAY_OPEN, GATEWAY_ANY_REQUEST, GATEWAY_REQUEST, GATEWAY_CALL };

/* A fault rule, as gateway_read_fault fills it. */
struct gateway_fault {
    uint32_t where;                       /* enum gateway_where */
    uint32_t request;                     /* for GATEWAY_REQUEST: the request's own number */
    char function[GATEWAY_FUNCTION_NAME]; /* for GATEWAY_CALL */
    uint32_t nth;                         /* strikes the n-th event, 0 every one */
    uint32_t seen;                        /* events so far */
    int32_t error;                        /* of one that fails; 0 for a call that leaves errno alone */
    uint8_t fails;
    uint8_t kills;
    uint8_t has_result;
    uint8_t value_count;
    int32_t result;
    uint64_t values[GATEWAY_OUTPUTS];      /* the numbers that replace a call's first value_count outputs */
    uint8_t is_written[MODEL_PAYLOAD_MAX]; /* the bytes of the payload, or of a call's record, that the fault */
    uint8_t written[MODEL_PAYLOAD_MAX];    /* replaces, and by what */
    uint8_t has_bytes;
};

/* Faults and how far each has counted. All zero is a session without faults. */
struct gateway_session {
    uint32_t fault_count;
    uint32_t padding;
    struct gateway_fault faults[GATEWAY_FAULTS];
};

/* Reads a fault as it is typed. Gives null, or what is wrong with it. */
const char *gateway_read_fault(const char *typed, struct gateway_fault *fault);

/* Writes the bytes of a fault over a payload or a record. */
void gateway_overwrite(const struct gateway_fault *fault, void *record, size_t size);

/* One event's line of the trace, its newline included. The functions below that take one fill it from the start. */
struct gateway_line {
    struct text text; /* in buffer */
    char buffer[GATEWAY_LINE];
};

/* Each gives the result or a negative error number. A null session has no faults. */

int gateway_open(struct gateway_session *session, int flags, struct gateway_line *line);

/* A null payload is one that could not be read (-EFAULT). When *killed is set, the caller kills the process, keeps the
 * model as it was before, and writes no line. */
int gateway_request(struct gateway_session *session, struct model *model, uint32_t request, void *payload,
                    struct gateway_line *line, bool *killed);

void gateway_close(struct gateway_line *line);

/* The same for a call of the library, whose arguments the caller writes into line->text, each after a blank. Gives the
 * fault that strikes the call, or null. */
const struct gateway_fault *gateway_call(struct gateway_session *session, const char *function,
                                         struct gateway_line *line);

void gateway_call_result(int result, struct gateway_line *line);

#ifdef __cplusplus
}
#endif

#endif
