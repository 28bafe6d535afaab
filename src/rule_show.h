// The detailed display of one rule, for people.
#ifndef KXQOSCTL_RULE_SHOW_H
#define KXQOSCTL_RULE_SHOW_H

#include "kxqos.h"

// The record is one read back: nothing in it is trusted.
void show_rule_entry(const kxqos_rule_t *pRule);
void show_rule_match_field(const kxqos_rule_t *pRule);
void show_rule_action(const kxqos_rule_t *pRule);

#endif
