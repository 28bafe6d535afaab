// What stands below a command while a line of a file is replayed: nothing is held, and the request that would change
// the gateway is kept to be looked at.
//
// A command about limits reads a database, changes its copy and writes it back. The recorder answers with one whose
// mode no word names, and whose tables are empty. So a change of mode is always written; an added limit
// stands alone in what is written; and no limit is ever in force, so that nothing goes to the switch.
#ifndef KXQOS_CONFIG_RECORDER_H
#define KXQOS_CONFIG_RECORDER_H

#include "kxqos.h"

// The mode of a database that a line read and wrote back unchanged.
inline constexpr uint8_t no_mode = 0xFF;

struct recorded {
    kxqos_request request; // 0: the line would change nothing
    int number;            // of a counter
    uint32_t word;         // of a switch or the debug flags
    kxqos_rule_t rule;
    kxqos_rate_bucket_t bucket;
    kxqos_rl_t limits;
};

// Whether a second record is in use from now on, in place of the first, which stays as it is.
void record_aside(bool on);

// Forgets what was recorded. debug answers the command that reads the debug flags; limits, if it is not null, stands in
// for the empty tables.
void start_recording(uint32_t debug, const kxqos_rl_t *limits);

// Owned by the recorder. Only what the request carries is there.
const recorded &what_was_recorded();

int record_request(kxqos_request request, void *payload);

#endif
