/* type-in PROGRAM <COMMANDS: runs PROGRAM with the words of each line in turn, as a shell would, only faster. Prints
 * the commands that fail; status 0 if none did.
 *
 * type-in PROGRAM OTHER <COMMANDS: prints too how many times as long PROGRAM takes as OTHER with the same words. The
 * two take turns, so that a busy moment of the machine hits both.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>

extern char **environ;
static posix_spawn_file_actions_t files;
static bool failed;

static double now(void)
{
    struct timespec time;

    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

/* Returns how long it took. */
static double run(char *program, char **argv)
{
    const double start = now();
    pid_t child;
    int status = -1;

    argv[0] = program;
    if (posix_spawnp(&child, program, &files, NULL, argv, environ) != 0 || waitpid(child, &status, 0) != child ||
        status != 0) {
        printf("%s", program);
        for (char **word = argv + 1; *word != NULL; word++)
            printf(" %s", *word);
        printf(": wait status %d\n", status);
        failed = true;
    }
    return now() - start;
}

int main(int argc, char **argv)
{
    char line[4096];
    char *words[64];
    double first = 0;
    double second = 0;
    int commands = 0;

    if (argc != 2 && argc != 3)
        return 2;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    while (fgets(line, sizeof line, stdin) != NULL) {
        size_t count = 1;
        for (char *word = strtok(line, " \n"); word != NULL && count < 63; word = strtok(NULL, " \n"))
            words[count++] = word;
        words[count] = NULL;
        first += run(argv[1], words);
        if (argc == 3)
            second += run(argv[2], words);
        commands++;
    }
    if (argc == 3)
        printf("boot script: %d commands take %.2f times as long as the empty program\n", commands, first / second);
    return failed || commands == 0 ? 1 : 0;
}
