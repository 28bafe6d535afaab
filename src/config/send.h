// Making changes, and undoing them.
#ifndef KXQOS_CONFIG_SEND_H
#define KXQOS_CONFIG_SEND_H

#include "changes.h"

// What a change is made of.
struct sides {
    const configuration *from; // what the gateway held before
    const configuration *to;
    uint32_t refreshWord;
};

// Makes the change. Returns null, or what failed; owned by this component.
//
// A result above zero is no failure where the tool passes it on without a word, for rules, buckets and switches. What
// came of it is seen when the gateway is read again.
const char *send_change(const change &change, const sides &sides);

// Makes undone what a change did, or may have done when it failed. Returns null, or what failed; null for a profile
// that is filled again, whatever fails of it.
const char *undo_change(const change &change, const sides &sides);

#endif
