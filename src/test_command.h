// The command "test": the library's flow, host and WAN functions, and its self-test, from the command line.
#ifndef KXQOSCTL_TEST_COMMAND_H
#define KXQOSCTL_TEST_COMMAND_H

// count words after "test". Returns 0 or -1.
int do_test_command(int count, const char *const *words);

#endif
