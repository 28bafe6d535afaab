// The seam to whoever checks what is typed.
//
// The commands take many a word and use only a part of it. Scripts rely on that, so the tool itself says nothing and
// links functions that do nothing, of which no instruction is left; a program that checks a file links others.
#ifndef KXQOSCTL_LOSS_H
#define KXQOSCTL_LOSS_H

#include "kxqos.h"

// A part of a word, or a word, has no effect. The text says which, as what would be ignored.
void lose(const char *what);

// A match field is about to be written into the record, which has those that stand before it. Fields can share their
// place.
void begin_match_field(const kxqos_rule_t *rule, int field);

#endif
