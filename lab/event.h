/* One event inside the lab, from the point of view of the process it happens in: the state file locked, the session's
 * faults at hand, one line for the trace. What belongs to which lab is told by environment variables.
 */
#ifndef LAB_EVENT_H
#define LAB_EVENT_H

#include "store.h"

#define LAB_STATE "KXQOS_LAB_STATE"     /* the state file; unset outside the lab */
#define LAB_TRACE "KXQOS_LAB_TRACE"     /* the trace; unset for none */
#define LAB_SESSION "KXQOS_LAB_SESSION" /* a struct gateway_session; unset for no faults */

/* What the next process writes after a line of the trace that was cut off. */
#define LAB_UNFINISHED " <unfinished ...>\n"

struct event {
    struct store store;
    struct gateway_session *session; /* null for one without faults */
    struct gateway_line line;
};

/* The value of one of the variables, null if it is unset or empty. */
const char *lab_variable(const char *name);

/* False when nobody would notice an open or a close: no trace, no faults. */
bool event_is_seen(void);

/* Opens and locks. Gives false and errno when there is no lab or its state cannot be used. */
bool event_begin(struct event *event);

/* Keeps what the faults have counted, for a process that is about to be killed. */
void event_keep_session(const struct event *event);

/* For an event that could not be carried out. */
void event_drop_line(struct event *event);

/* Writes the line to the trace, keeps what the faults have counted, and unlocks. */
void event_end(struct event *event);

#endif
