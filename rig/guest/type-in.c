/* type-in PROGRAM <COMMANDS: runs PROGRAM with the words of each line in turn, as a shell would, only faster. Prints
 * the commands that fail; status 0 if none did. What PROGRAM prints is not kept.
 *
 * type-in PROGRAM OTHER <COMMANDS: prints too how many times as long PROGRAM takes as OTHER with the same words. The
 * two take turns, so that a busy moment of the machine hits both.
 *
 * type-in --at-once PROGRAM <COMMANDS: starts them all before it waits for any. What they print is not hidden; it does
 * not say which fail.
 */
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

static void complain(char **argv, int status)
{
    for (char **word = argv; *word != NULL; word++)
        printf("%s ", *word);
    printf("has wait status %d\n", status);
    failed = true;
}

/* Returns 0 when it could not be started. */
static pid_t start(char *program, char **argv)
{
    pid_t child;

    argv[0] = program;
    if (posix_spawnp(&child, program, &files, NULL, argv, environ) == 0)
        return child;
    complain(argv, -1);
    return 0;
}

/* Returns how long it took. */
static double run(char *program, char **argv)
{
    const double began = now();
    const pid_t child = start(program, argv);
    int status = 0;

    if (child != 0 && (waitpid(child, &status, 0) != child || status != 0))
        complain(argv, status);
    return now() - began;
}

static bool read_words(char **words, size_t count)
{
    static char line[4096];
    size_t i = 1;

    if (fgets(line, sizeof line, stdin) == NULL)
        return false;
    for (char *word = strtok(line, " \n"); word != NULL && i + 1 < count; word = strtok(NULL, " \n"))
        words[i++] = word;
    words[i] = NULL;
    return true;
}

int main(int argc, char **argv)
{
    const bool at_once = argc == 3 && strcmp(argv[1], "--at-once") == 0;
    char *words[64];
    double first = 0;
    double second = 0;
    int commands = 0;
    int status;

    if (argc != 2 && argc != 3)
        return 2;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    if (!at_once)
        posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    for (; read_words(words, sizeof words / sizeof words[0]); commands++) {
        if (at_once) {
            start(argv[2], words);
            continue;
        }
        first += run(argv[1], words);
        if (argc == 3)
            second += run(argv[2], words);
    }
    while (wait(&status) > 0) {
        if (status != 0)
            failed = true;
    }
    if (argc == 3 && !at_once)
        printf("boot script: %d commands take %.2f times as long as the empty program\n", commands, first / second);
    return failed || commands == 0 ? 1 : 0;
}
