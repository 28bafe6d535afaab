// The command "counter": packet and byte counters.
#ifndef KXQOSCTL_COUNTER_H
#define KXQOSCTL_COUNTER_H

// count words after "counter". Returns 0 or -1.
int do_counter_command(int count, const char *const *words);

#endif
