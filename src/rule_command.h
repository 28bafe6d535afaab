// The command "rule".
#ifndef KXQOSCTL_RULE_COMMAND_H
#define KXQOSCTL_RULE_COMMAND_H

#include "kxqos.h"

// count words after "rule". Returns 0, -1, or a positive result of the module's.
int do_rule_command(int count, const char *const *words);

// One step of a walk over a profile's rules: the record names the last rule seen (rule_id 0 to start) and is
// overwritten by the next one, or by rule_id 0 at the end. Returns the request's result.
int get_next_valid_rule_entry(kxqos_rule_t *pRule);

#endif
