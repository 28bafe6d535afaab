// The rate-limit database of one direction, to and from the module.
#ifndef KXQOSCTL_LIMIT_DB_H
#define KXQOSCTL_LIMIT_DB_H

#include "kxqos.h"

// Fills mode and the three tables of the direction that cfg->upDir names. Returns 0, or -1 with *cfg partly filled.
int get_rate_limit_db(kxqos_rl_t *cfg);

// Sends upDir, mode and the three tables. Returns 0, or -1; what was sent by then is not undone.
int set_rate_limit_db(const kxqos_rl_t *cfg);

#endif
