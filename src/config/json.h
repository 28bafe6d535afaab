// All that the gateway tells, as JSON; docs/kxqos-config.schema.json describes it.
//
// A writer of our own: the libraries for C allocate, and each would have to be linked into a program that may need
// nothing but the C library and libkx, where the smallest of them takes most of the text that is left.
#ifndef KXQOS_CONFIG_JSON_H
#define KXQOS_CONFIG_JSON_H

// Reads the gateway, which must be open, and prints one object to standard output; nothing when anything cannot be
// read. Returns the exit status.
int show_json();

#endif
