// The lab's gateway within this process: the device and the library as the programs find them, with faults.
#ifndef PROPERTY_GATEWAY_H
#define PROPERTY_GATEWAY_H

#include "library.h"
#include "model.h"

#include <cstdint>
#include <string>
#include <vector>

struct World {
    model module;
    library switched; // what the library keeps: the limits in the switch
};

// What the programs see. Filled by switch_on or by copying another.
extern World world;

void switch_on();

struct Event {
    uint32_t request; // its number; 0 is a call of the library
    bool changes;     // it may change something
};

enum class Fault {
    not_done,   // it fails and does nothing
    done,       // it is done, and yet it fails
    above_zero, // it is done, and gives 5; a call of the library fails then
    ignored     // it succeeds and does nothing
};

struct Strike {
    size_t at; // the event, from 0
    Fault fault;
};

// Since start_events. The strikes are in no order.
extern std::vector<Event> events;
void start_events(const std::vector<Strike> &strikes = {});

void end_faults(); // those to come

size_t count_changes(); // requests among the events that may change something
size_t count_calls();

// Called before a request that may change something is carried out.
extern void (*before_change)(uint32_t request, const void *payload);

#endif
