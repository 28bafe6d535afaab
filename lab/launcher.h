/* What a command in the lab needs before it starts, and what it leaves when it has ended: for kxqos-lab, and for a
 * program that runs so many commands that starting a kxqos-lab for each is what takes longest.
 */
#ifndef LAB_LAUNCHER_H
#define LAB_LAUNCHER_H

#ifdef __cplusplus
extern "C" {
#endif

struct launch {
    char **words;     /* the command, ended by null; null if there is none to run */
    char **variables; /* "NAME=VALUE", for its environment; ended by null, and gone with launcher_end */
};

/* Does what the words of a kxqos-lab say, its own name first: all but to run the command. What is wrong ends the
 * process. The guest has a launcher of its own with the same two functions. */
struct launch launcher_begin(int argc, char **argv);

/* Once the command has ended. */
void launcher_end(void);

#ifdef __cplusplus
}
#endif

#endif
