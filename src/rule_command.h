// The command "rule".
#ifndef KXQOSCTL_RULE_COMMAND_H
#define KXQOSCTL_RULE_COMMAND_H

// count words after "rule". Returns 0, -1, or a positive result of the module's.
int do_rule_command(int count, const char *const *words);

#endif
