// Rules as a module may hold them, and what of them the dump cannot express.
#ifndef ROUNDTRIP_RULE_STATES_H
#define ROUNDTRIP_RULE_STATES_H

#include "kxqos.h"
#include "records.h"

#include <set>
#include <span>
#include <string>

// Which values a field is given: the lowest, the highest, or any.
enum class Extreme { lowest, highest, none };

// Writes a field into a rule and selects it.
void set_field(kxqos_rule_t &rule, int field, bool range, bool inverse, Extreme extreme, Random &random);

// A rule of up to five fields and any actions; most of them can be typed. Its ids are 0.
kxqos_rule_t random_rule(Random &random);

// Changes a bit of a rule, mostly one that carries a meaning.
void spoil(kxqos_rule_t &rule, Random &random);

// A state of a rule that the dump cannot express: the rule does not come back when its line is typed.
struct RuleState {
    const char *name;
    bool is_made; // by some command that the tool accepts; the others come from elsewhere
    bool (*holds)(const kxqos_rule_t &rule);
    // A rule that is in this state and in no other.
    kxqos_rule_t (*example)();
};

std::span<const RuleState> rule_states();

// The names of the states that a rule is in.
std::set<std::string> states_not_brought_back(const kxqos_rule_t &rule);

#endif
