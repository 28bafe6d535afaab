// What of a line's words has no effect, in this program: kept, to be told.
#ifndef KXQOS_CONFIG_LOSS_H
#define KXQOS_CONFIG_LOSS_H

#include "kxqos.h"

// Forgets what was lost.
void forget_losses();

// The first loss since then, as a message that is good until the next call; null when nothing was lost. The record is
// the one that came of it, when that is a rule's.
const char *what_was_lost(const kxqos_rule_t *rule);

#endif
