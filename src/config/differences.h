// What the gateway holds and should not, in words.
#ifndef KXQOS_CONFIG_DIFFERENCES_H
#define KXQOS_CONFIG_DIFFERENCES_H

#include "replay.h"

// Says each thing that the gateway was seen to hold where the target has another or none, or to lack. Returns whether
// there is any.
bool say_differences(const configuration &seen, const configuration &target, const names &names);

// Says the lines that were printed, each after "prefix: what is wrong: ".
void say_printed(const char *prefix, const char *wrong);

#endif
