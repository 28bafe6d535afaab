#include "made_states.h"

#include "rule_states.h"

std::set<std::string> states_of(const kxqos_rule_t &rule)
{
    return states_not_brought_back(rule);
}

std::set<std::string> made_states()
{
    std::set<std::string> names;
    for (const RuleState &state : rule_states())
        if (state.is_made)
            names.insert(state.name);
    return names;
}
