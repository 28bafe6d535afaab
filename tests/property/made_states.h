// The states of a rule that no line of the dump brings back, as the round-trip tests name them.
#ifndef PROPERTY_MADE_STATES_H
#define PROPERTY_MADE_STATES_H

#include "kxqos.h"

#include <set>
#include <string>

// Those that the rule is in.
std::set<std::string> states_of(const kxqos_rule_t &rule);

// Those that an accepted command makes.
std::set<std::string> made_states();

#endif
