// The commands, all in one table.
#ifndef KXQOSCTL_COMMANDS_H
#define KXQOSCTL_COMMANDS_H

struct command {
    char name[15];
    unsigned char compared;                          // characters of the name that count
    int (*run)(int count, const char *const *words); // the words after the name, at least one
    void (*usage)();                                 // for the name alone; may be null
};

inline constexpr int command_count = 13;
extern const command commands[command_count];

// Runs the command that count words make, the command word first; no words at all show the menu. Returns 0, -1 (then it
// has printed "Fail! " if there was a word), or a positive result of the module's.
int run_command(int count, const char *const *words);

// Whether the command that the word names calls the gateway's library itself.
bool reaches_library(const char *word);

#endif
