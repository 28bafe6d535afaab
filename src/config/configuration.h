// A whole configuration: what a file asks for, or what the gateway holds.
//
// Plain records of some 300 KB, to be static: a place that is never touched costs no memory. All zero is the empty one,
// but for fine classification, which a gateway has enabled when it is switched on: begin with start_configuration.
#ifndef KXQOS_CONFIG_CONFIGURATION_H
#define KXQOS_CONFIG_CONFIGURATION_H

#include "kxqos.h"
#include "profiles.h"

// The place of each profile's first rule, and behind the last profile the number of all places.
struct rule_starts {
    int places[KXQOS_PROFILE_MAX + 1];
};

constexpr rule_starts add_rules_up()
{
    rule_starts starts = {};
    for (int i = 0; i < KXQOS_PROFILE_MAX; i++)
        starts.places[i + 1] = starts.places[i] + qosProfileName[i].highestRuleID;
    return starts;
}

inline constexpr rule_starts profile_starts = add_rules_up();

constexpr int first_place(int profile)
{
    return profile_starts.places[profile];
}

inline constexpr int rule_places = first_place(KXQOS_PROFILE_MAX);

// The switches that are either on or off, in the order of gateway_switches.
enum switch_number : uint8_t { switch_qos, switch_pure_dscp, switch_fine_classification, switch_count };

struct gateway_switch {
    char keyword[15]; // of the command that sets it
    kxqos_request get;
    kxqos_request set;
    uint8_t initial; // its state on a gateway that was just switched on
};

inline constexpr gateway_switch gateway_switches[switch_count] = {
    {"qos", KXQOS_STATE_GET, KXQOS_STATE_SET, 0},
    {"puredscpremark", KXQOS_PURE_DSCP_GET, KXQOS_PURE_DSCP_SET, 0},
    {"fine-classifi", KXQOS_FINE_CLASSIFY_GET, KXQOS_FINE_CLASSIFY_SET, 1},
};

// In place of 0 or 1: it could not be read.
inline constexpr uint8_t unknown_state = 2;

// Parts of the gateway that could not be read, as bits: profile n is bit n.
inline constexpr uint32_t unread_buckets = 1U << KXQOS_PROFILE_MAX;
inline constexpr uint32_t unread_debug = unread_buckets << 1;
constexpr uint32_t unread_limits(int upDir)
{
    return unread_buckets << (2 + upDir);
}

// Beside them: the switch may lack limits that the databases name, as an apply that was killed leaves it.
inline constexpr uint32_t unsure_switch = unread_buckets << 4;

struct configuration {
    const kxqos_rule_t *rules[rule_places];         // profile after profile, by id; null is a free place
    kxqos_rule_t kept[rule_places];                 // where they are kept, unless another configuration has the same
    kxqos_rate_bucket_t buckets[KXQOS_BUCKET_LAST]; // bucket n is at n - 1; bucketID 0 is a free place
    kxqos_rl_t limits[2];                           // by upDir
    uint8_t switches[switch_count];                 // 0, 1 or unknown_state
    uint8_t counters[KXQOS_COUNTER_LAST + 1];       // by number: enabled is 1, or unknown_state
    uint32_t debug;                                 // KXQOS_DEBUG_* that are on
    uint32_t unread;
};

// Takes a rule in.
void keep_rule(configuration *configuration, int place, const kxqos_rule_t &rule);

// Makes a record of static storage that was never used the configuration of a gateway just switched on.
void start_configuration(configuration *configuration);

// The place of a rule, or -1 when no profile has such a rule.
inline int rule_place(unsigned profile, unsigned id)
{
    if (profile >= KXQOS_PROFILE_MAX || id < 1 || id > qosProfileName[profile].highestRuleID)
        return -1;
    return first_place(static_cast<int>(profile)) + static_cast<int>(id) - 1;
}

#endif
