// The grammar of a rule: match words and action words into a record.
#ifndef KXQOSCTL_RULE_PARSE_H
#define KXQOSCTL_RULE_PARSE_H

#include "kxqos.h"

// Both take count words and a record that was cleared before its ids were set; they touch only what the words name.
// They return 0 or -1, and have then printed what is to be printed; the record is partly filled and must not be sent.

// The words after "match": pairs of keyword and value, then "action" and the actions.
int parse_rule_command(int count, const char *const *words, kxqos_rule_t *rule);

// The words after "action". No words at all are a rule without an action.
int parse_action_command(int count, const char *const *words, kxqos_rule_t *rule);

#endif
