// The commands of a file, carried out against memory: what kxqosctl takes is taken, and nothing else.
#ifndef KXQOS_CONFIG_REPLAY_H
#define KXQOS_CONFIG_REPLAY_H

#include "configuration.h"
#include "file.h"
#include "limit_table.h"

inline constexpr int debug_categories = 9;

// Where a file names each thing. A number of 0 is nowhere.
struct names {
    place rules[rule_places];
    place buckets[KXQOS_BUCKET_LAST];
    place modes[2];
    place limits[2][last_table + 1][limit_entries_most]; // by upDir, table and entry
    place switches[switch_count];
    // Governed one by one: only what is named.
    place counters[KXQOS_COUNTER_LAST + 1];
    place debug[debug_categories];
    uint32_t debugBits; // those that are named
    place refresh;
    uint8_t refreshWord; // as it is sent
};

// Carries out one line against what the lines before it gave. Returns what is wrong, and has then changed nothing;
// null when it is taken. Owned by this component, and good until the next call.
const char *replay_line(const line &line, configuration *wanted, names *names);

// The whole of a file that was loaded. Both records are of static storage and were never used. Returns false when
// anything is wrong, and has said what and where.
bool read_configuration(const file &file, configuration *wanted, names *names);

#endif
