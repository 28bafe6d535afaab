// The commands, all in one table.
#ifndef KXQOSCTL_COMMANDS_H
#define KXQOSCTL_COMMANDS_H

// Runs the command that count words make, the command word first; no words at all show the menu. Returns 0, -1 (then it
// has printed "Fail! " if there was a word), or a positive result of the module's.
int run_command(int count, const char *const *words);

#endif
