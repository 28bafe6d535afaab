// The verbs of the command line. Each takes the name of FILE and returns the exit status, and has then said what there
// is to say.
#ifndef KXQOS_CONFIG_VERBS_H
#define KXQOS_CONFIG_VERBS_H

#include <stdint.h>

enum option_bit : uint8_t {
    option_json = 1,
    option_lossy = 2,
    option_keep_going = 4,
    option_confirm = 8,
    option_wait = 16,
};

struct options {
    uint8_t given; // option_bit
    unsigned waitSeconds;
    unsigned confirmSeconds; // with option_confirm
};

int show(const char *name, const options &options);
int save(const char *name, const options &options);
int check(const char *name, const options &options);
int diff(const char *name, const options &options);
int apply(const char *name, const options &options);
int run(const char *name, const options &options);

// Sends out what was printed. Returns false when any of it could not be written, and has said so.
bool finish_standard_output();

#endif
