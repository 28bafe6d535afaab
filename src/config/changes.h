// The least that brings a gateway from one configuration to another, in an order in which nothing is used before it is
// there or removed while it is used.
#ifndef KXQOS_CONFIG_CHANGES_H
#define KXQOS_CONFIG_CHANGES_H

#include "configuration.h"
#include "replay.h"

// Each kind is one request, but for the two about the switch (one call of the library) and limits_write (two).
enum class change_kind : uint8_t {
    refresh,
    counter_enable,  // index: the counter
    counter_disable, // the same
    switch_set,      // index: switch_number
    bucket_set,      // index: the bucket's place
    bucket_delete,   // the same
    rule_set,        // index: the rule's place
    rule_delete,     // the same
    rule_reset,      // index: the profile
    limit_remove,    // index: the entry of the former table, from the switch
    limit_install,   // index: the entry of the new table, in the switch, once the database has it
    limits_write,    // the database of a direction
    debug_set,
};

inline constexpr uint8_t no_direction = 2;

struct change {
    change_kind kind;
    uint8_t upDir; // of the limits; no_direction for all else
    uint8_t mode;  // the table: RATELIMIT_MODE_*
    int16_t index;
};

inline constexpr int limit_changes_most = 2 * KXQOS_RL_IP_ENTRIES + 1;
inline constexpr int changes_most =
    1 + KXQOS_COUNTER_LAST + switch_count + KXQOS_BUCKET_LAST + rule_places + 2 * limit_changes_most + 1;

struct change_list {
    int count;
    change changes[changes_most];
};

// Fills *list. Of counters and debug flags only those count that are named, so names.debugBits of to.debug; a refresh
// that is named is a change, too. What could not be read in from is taken as it may be: a thing that is wanted is
// sent again, and nothing is removed.
//
// A rule that is equal in both is one record, as read_gateway keeps it.
void list_changes(const configuration &from, const configuration &to, const names &names, change_list *list);

// Where the file names what the change makes. A number of 0: nowhere, as it takes something away.
place place_of(const change &change, const names &names);

#endif
