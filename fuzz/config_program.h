// kxqos-config, main and all, run over and over within this process, each time as if it had just been started. What it
// asks of the system goes to the lab's model of the gateway, or to answers that are arbitrary bytes.
#ifndef FUZZ_CONFIG_PROGRAM_H
#define FUZZ_CONFIG_PROGRAM_H

#include "libkx.h"
#include "model.h"

#include <stddef.h>
#include <stdint.h>
#include <string>
#include <string_view>
#include <vector>

// What the program finds.
struct gateway {
    model module;
    // Called in place of the model, if it is there; gives the result or a negative error number.
    int (*answer)(uint32_t request, void *payload);
    // Called before a request is answered; size_t counts the requests of the run, from 0.
    void (*before)(size_t at);

    // What was seen in the run.
    size_t requests;
    size_t changes; // requests that may change something
    size_t firstChange;
    size_t failures; // results other than 0, of requests that change nothing
};

extern gateway found;

struct ran {
    int status;
    std::string output;
    std::string errors;
};

ran run_config(const std::vector<std::string> &words, std::string_view input);

// Ends the process with a message, which is a finding, unless the condition holds.
void check(bool condition, const char *what);

#endif
