// Whether what the gateway holds would come back equal from the lines that show it.
#ifndef KXQOS_CONFIG_FAITHFUL_H
#define KXQOS_CONFIG_FAITHFUL_H

#include "configuration.h"

// Replays each thing that is held as its line shows it. Says what would not come back equal, and why, and takes it out
// of *held. Returns how many that were.
int leave_out_unfaithful(configuration *held);

#endif
