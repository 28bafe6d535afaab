// What the module holds as the command that sets it. Records read back are not trusted.
#ifndef KXQOSCTL_AS_COMMANDS_H
#define KXQOSCTL_AS_COMMANDS_H

#include "kxqos.h"

void print_rule_command(const kxqos_rule_t *rule);
void print_bucket_command(const kxqos_rate_bucket_t *bucket);

#endif
