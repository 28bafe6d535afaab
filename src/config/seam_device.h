// What is below the commands in this program: the gateway, or memory.
#ifndef KXQOS_CONFIG_DEVICE_H
#define KXQOS_CONFIG_DEVICE_H

#include "configuration.h"

// Opens the kernel module's device, once for the whole run. Returns false when it is not to be had, and has said so.
bool open_unlocked_gateway();

// The same, and waits up to so many seconds for being the only one that has it locked. A lock ends with its process.
bool open_gateway(unsigned seconds);

// Lets the next one in; requests can still be made.
void unlock_gateway();

// Whether the switch may lack limits that the databases name. A mark on the device itself, its sticky bit, which means
// nothing else there: it outlives a process that is killed, and goes with the module. Who does not own the device
// leaves none.
bool switch_is_unsure();
void mark_switch(bool unsure);

// Every request goes to the gateway from now on, which must be open.
void use_gateway();

// Why the last request to the gateway that failed did; null when none has failed since this was last called.
const char *gateway_failure();

// From now on requests are only recorded (see replay.h), or answered from a configuration.
void use_recorder();
void use_memory(const configuration *held);

#endif
