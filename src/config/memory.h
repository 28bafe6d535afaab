// A configuration in memory as the answers of a gateway that holds it, so that the tool's own display can show it.
#ifndef KXQOS_CONFIG_MEMORY_H
#define KXQOS_CONFIG_MEMORY_H

#include "configuration.h"

// Answers the requests that the display makes. Any other fails with -1: what is remembered never changes.
int answer_from_memory(const configuration &held, kxqos_request request, void *payload);

#endif
