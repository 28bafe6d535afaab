// The command "configuration": the running configuration as commands.
#ifndef KXQOSCTL_CONFIGURATION_H
#define KXQOSCTL_CONFIGURATION_H

// count words after "configuration"; there must be one, and which it is does not matter. Returns 0 or -1.
int do_configuration_command(int count, const char *const *words);

// Prints everything that the module holds, as lines that can be typed back in. What cannot be read is left out.
void show_running_configuation();
// The same without its first line, the first of the six that divide it.
void show_running_parts();

#endif
