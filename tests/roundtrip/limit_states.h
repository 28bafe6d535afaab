// Rate-limit databases as a module may hold them, and what of them no command can express.
#ifndef ROUNDTRIP_LIMIT_STATES_H
#define ROUNDTRIP_LIMIT_STATES_H

#include "rule_states.h"

// A database whose three tables have so many entries, all of which can be typed.
kxqos_rl_t random_database(Random &random, size_t ip_entries, size_t vlan_entries, size_t port_entries);

// Changes a bit of a database, mostly one that carries a meaning, or copies an entry over another.
void spoil(kxqos_rl_t &database, Random &random);

// A state of a database that the syntax of the limit command cannot express.
struct LimitState {
    const char *name;
    bool (*holds)(const kxqos_rl_t &database);
    // A database that is in this state and in no other.
    kxqos_rl_t (*example)();
};

std::span<const LimitState> inexpressible_limit_states();

// The names of the states that a database is in.
std::set<std::string> inexpressible(const kxqos_rl_t &database);

#endif
