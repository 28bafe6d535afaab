/* kxqos-lab: runs a command inside the simulated gateway. See README.md. */
#include "launcher.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum { bad_use = 2, cannot_run = 126, not_found = 127 };

static volatile sig_atomic_t child;

static void pass_on(int number)
{
    kill((pid_t)child, number);
}

/* An interrupt from the terminal reaches the command by itself; what is sent to this process only is passed on. */
static void handle_signals(void)
{
    const struct sigaction passing = {.sa_handler = pass_on, .sa_flags = SA_RESTART};

    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    sigaction(SIGTERM, &passing, NULL);
    sigaction(SIGHUP, &passing, NULL);
}

static int run(char **words)
{
    int status = 0;
    pid_t pid;
    const int error = posix_spawnp(&pid, words[0], NULL, NULL, words, environ);

    if (error != 0) {
        fprintf(stderr, "kxqos-lab: %s: %s\n", words[0], strerror(error));
        return error == ENOENT ? not_found : cannot_run;
    }
    child = pid;
    handle_signals();
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int main(int argc, char **argv)
{
    const struct launch launch = launcher_begin(argc, argv);
    int status;

    if (launch.words == NULL)
        return fflush(stdout) == 0 ? 0 : bad_use;
    for (char **variable = launch.variables; *variable != NULL; variable++)
        putenv(*variable);
    status = run(launch.words);
    launcher_end();
    return status;
}
