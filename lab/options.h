/* The words that a command in the lab is started with. */
#ifndef LAB_OPTIONS_H
#define LAB_OPTIONS_H

#include "gateway.h"

enum task { run_command, reboot, show_status, show_log };

struct options {
    enum task task;
    const char *state;    /* null for the usual place */
    const char *trace;    /* null for none */
    const char *preload;  /* null for the library beside this program, "" for none */
    const char *emulator; /* null for none */
    int64_t traffic;      /* packets, -1 for no offer */
    char **command;       /* null for a shell */

    struct gateway_session session; /* the faults that were asked for */
};

/* Reads the words, and points into them. What is wrong ends the process, and so does --help. */
void options_read(int argc, char **argv, struct options *options);

/* Ends the process with one line on standard error and status 2, when what is left behind is gone: launcher_end. */
__attribute__((format(printf, 1, 2), noreturn)) void lab_fail(const char *format, ...);

#endif
