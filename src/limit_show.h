// The displays of the rate-limit databases.
#ifndef KXQOSCTL_LIMIT_SHOW_H
#define KXQOSCTL_LIMIT_SHOW_H

#include "kxqos.h"

// Both directions, up first, for people. The first that cannot be read ends the display.
void show_rate_limit();

// The same in the form of limit commands, which set the modes and add the entries again.
void show_rate_limit_cfg();

// The entries of one database in either form.
void dump_rate_limit_rule(const kxqos_rl_t *pRule);
void dump_rate_limit_cfg(const kxqos_rl_t *pRule);

#endif
