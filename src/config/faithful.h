// Whether what the gateway holds, or is to hold, would come back equal from the lines that show it.
#ifndef KXQOS_CONFIG_FAITHFUL_H
#define KXQOS_CONFIG_FAITHFUL_H

#include "configuration.h"
#include "replay.h"

// Replays each thing that is held as its line shows it. Says what would not come back equal, and why, and takes it out
// of *held. Returns false when there was any.
bool leave_out_unfaithful(configuration *held);

// The same of what a file asks for, that a save of it later would not refuse. Returns false when anything would not
// come back equal, and has said what, and where the file names it.
bool can_be_saved(const file &file, const configuration &wanted, const names &names);

#endif
