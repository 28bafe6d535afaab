// Reading what the gateway holds. Nothing that it answers is trusted, and an answer that fails is never taken for an
// end.
#ifndef KXQOS_CONFIG_GATEWAY_H
#define KXQOS_CONFIG_GATEWAY_H

#include "configuration.h"
#include "replay.h"

// Reads what is governed as a whole, and of counters and debug flags what is named; all of them when names is null.
// Says what cannot be read, notes it in held->unread or as unknown_state, and goes on. Returns false when there was
// any. *held is of static storage; what it held before is forgotten.
//
// Rules that are equal in like, if it is not null, are not kept a second time.
bool read_gateway(configuration *held, const names *names, const configuration *like);

#endif
