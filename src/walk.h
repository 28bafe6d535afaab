// Walks over what the module holds.
//
// A record is the cursor: it names the last entry seen (id 0 to start) and is overwritten by the next one, or by id 0
// at the end. Each function is one step, and returns the request's result.
#ifndef KXQOSCTL_WALK_H
#define KXQOSCTL_WALK_H

#include "kxqos.h"

// The rules of one profile, table_id.
int get_next_valid_rule_entry(kxqos_rule_t *pRule);

int get_next_valid_rate_bucket(kxqos_rate_bucket_t *pBucket);

#endif
