// The command "limit": the LAN-side rate limit.
#ifndef KXQOSCTL_LIMIT_COMMAND_H
#define KXQOSCTL_LIMIT_COMMAND_H

// count words after "limit". Returns 0 or -1.
int do_rate_limit_command(int count, const char *const *words);

#endif
