// A change as the commands that make it.
#ifndef KXQOS_CONFIG_CHANGE_SHOW_H
#define KXQOS_CONFIG_CHANGE_SHOW_H

#include "changes.h"

// Prints them through the output seam, as kxqosctl takes them; a rule as the file has it, because no display shows all
// that a line can say. The two changes in the switch are part of a database's: they print nothing.
void print_change(const change &change, const configuration &from, const configuration &to, const names &names,
                  const file &file);

// Prints one line that tells a change in a message, of those that no line of the file asks for: a switch, a mode, and
// what is taken away. A limit in the switch is told as its command.
void print_change_briefly(const change &change, const configuration &from, const configuration &to);

// "debug <category> on" or "off" for each of these categories.
void print_debug_commands(uint32_t bits, uint32_t flags);

// "counter <number> enable" or "disable".
void print_counter_command(int number, bool enabled);

// The category's name, of number 0 to debug_categories - 1.
const char *debug_category_name(int number);

#endif
