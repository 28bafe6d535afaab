// The seam to standard output. Everything the tool prints goes through here, into the same stream that the library
// prints to.
#ifndef KXQOSCTL_OUTPUT_H
#define KXQOSCTL_OUTPUT_H

// Prints the text and a newline: a text that ends in one gives an empty line after it.
void print_line(const char *text);

// Prints as printf does, with no newline added.
[[gnu::format(printf, 1, 2)]] void print(const char *format, ...);

// To be called before the library may print.
void expect_output();

// Sends out what was printed. Returns 0, or -1 when any of it could not be written.
int finish_output();

#endif
