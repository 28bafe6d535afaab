// A file that is replaced whole or not at all.
#ifndef KXQOS_CONFIG_REPLACEMENT_H
#define KXQOS_CONFIG_REPLACEMENT_H

#include <limits.h>

struct replacement {
    char file[PATH_MAX];          // what is replaced: where links lead to
    char temporary[PATH_MAX + 8]; // beside it, of one name, so that those that were killed leave one at most
};

// Makes the temporary file anew, of which there must be no other user, with the mode and the owner of the old one, and
// makes it standard output. Signals are held until the replacement is finished. Returns false when it cannot be done,
// and has said so.
bool begin_replacement(const char *name, replacement *replacement);

// Puts the file on the disk and in its place; when it was not written whole, removes it. Returns false when the old one
// stays, and has said so.
bool finish_replacement(replacement *replacement, bool written);

#endif
