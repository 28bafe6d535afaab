#include "launcher.h"

#include "event.h"
#include "options.h"
#include "status.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static struct options options;
static char session_path[PATH_MAX]; /* of the faults; empty for none */

/* What the command gets in its environment; kept while it runs. */
enum { most_variables = 6 };
static char *variables[most_variables + 1];
static unsigned variable_count;

/* The gateway */

static const char *usual_state(void)
{
    static char path[PATH_MAX];
    const char *folder = lab_variable("XDG_RUNTIME_DIR");

    snprintf(path, sizeof path, "%s/kxqos-lab-%u.state", folder != NULL ? folder : "/tmp", (unsigned)getuid());
    return path;
}

__attribute__((noreturn)) static void fail_of_state(const char *path)
{
    switch (errno) {
    case EMEDIUMTYPE:
        lab_fail("%s: not a state file of this version; it is left alone", path);
    case ELOOP:
        lab_fail("%s: a link instead of a state file; it is not followed", path);
    case EPERM:
        lab_fail("%s: others own this file, may write it or have another name for it; it is left alone", path);
    default:
        lab_fail("%s: %s", path, strerror(errno));
    }
}

static void open_state(struct store *store, const char *path)
{
    if (!store_open(store, path))
        fail_of_state(path);
}

static void *state_of(struct store *store, const char *path, enum store_half half)
{
    void *state = store_begin(store, half);

    if (state == NULL)
        fail_of_state(path);
    return state;
}

static void keep(const char *path, bool kept)
{
    if (!kept)
        fail_of_state(path);
}

static void offer(struct store *store, const char *path, uint32_t packets)
{
    model_offer(state_of(store, path, STORE_MODULE), packets);
    keep(path, store_commit(store, STORE_MODULE));
    library_offer(state_of(store, path, STORE_LIBRARY), packets);
    keep(path, store_commit(store, STORE_LIBRARY));
}

/* The environment of the command */

/* Sets a variable, to a list of two if there are two. */
static void set(const char *name, const char *first, const char *second)
{
    if (asprintf(&variables[variable_count], "%s=%s%s%s", name, first != NULL ? first : "",
                 first != NULL && second != NULL ? ":" : "", second != NULL ? second : "") < 0)
        lab_fail("%s", strerror(errno));
    variable_count++;
}

/* The command may change its folder, so it is told whole paths. Without a path the variable is empty, as if unset. */
static void set_path(const char *name, const char *path)
{
    static char whole[PATH_MAX];

    if (path != NULL && realpath(path, whole) == NULL)
        lab_fail("%s: %s", path, strerror(errno));
    set(name, path != NULL ? whole : NULL, NULL);
}

static void open_trace(const char *path)
{
    const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);

    if (fd < 0)
        lab_fail("%s: %s", path, strerror(errno));
    close(fd);
}

/* Only what is filled of the session is written; the rest of the file is a hole. */
static void write_session(void)
{
    const struct gateway_session *session = &options.session;
    const char *folder = lab_variable("TMPDIR");
    const size_t used = offsetof(struct gateway_session, faults) + session->fault_count * sizeof session->faults[0];
    int fd;

    snprintf(session_path, sizeof session_path, "%s/kxqos-lab.XXXXXX", folder != NULL ? folder : "/tmp");
    fd = mkstemp(session_path);
    if (fd < 0 || write(fd, session, used) != (ssize_t)used || ftruncate(fd, sizeof *session) != 0)
        lab_fail("%s: %s", session_path, strerror(errno));
    close(fd);
}

/* The folder of this program. */
static const char *own_folder(void)
{
    static char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);

    if (length <= 0)
        lab_fail("/proc/self/exe: %s", strerror(errno));
    path[length] = '\0';
    *strrchr(path, '/') = '\0';
    return path;
}

/* The preload library lies beside this program, or in lib/kxqos-lab beside its bin. */
static const char *find_preload(bool *installed)
{
    static char path[PATH_MAX + 64];

    snprintf(path, sizeof path, "%s/libkxqos-lab.so", own_folder());
    *installed = access(path, R_OK) != 0;
    if (*installed)
        snprintf(path, sizeof path, "%s/../lib/kxqos-lab/libkxqos-lab.so", own_folder());
    if (access(path, R_OK) != 0)
        lab_fail("%s: %s", path, strerror(errno));
    return path;
}

/* Where a tool is installed, the stand-in libkx.so is not beside it: it is found by LD_LIBRARY_PATH. */
static void set_preload(void)
{
    bool installed = false;
    const char *library = options.preload != NULL ? options.preload : find_preload(&installed);

    if (strpbrk(library, ": ") != NULL)
        lab_fail("%s: a library with a blank or a colon in its path cannot be preloaded", library);
    set("LD_PRELOAD", library, lab_variable("LD_PRELOAD"));
    if (installed) {
        static char folder[PATH_MAX + 64];
        snprintf(folder, sizeof folder, "%s/../lib/kxqos-lab", own_folder());
        set("LD_LIBRARY_PATH", folder, lab_variable("LD_LIBRARY_PATH"));
    }
}

static void set_environment(const char *state)
{
    set_path(LAB_STATE, state);
    set_path(LAB_TRACE, options.trace);
    if (options.session.fault_count != 0)
        write_session();
    set_path(LAB_SESSION, session_path[0] != '\0' ? session_path : NULL);
    if (options.emulator == NULL && (options.preload == NULL || options.preload[0] != '\0'))
        set_preload();
    set("PATH", lab_variable("PATH"), own_folder());
}

/* Its words */

/* An emulator is told to preload the library into what it emulates. Its three words go before the command, in place of
 * the last ones of --emulator and --preload. */
static char **words_to_run(void)
{
    static char preload_option[] = "-E";
    static char preload[PATH_MAX + 16];
    static char program[PATH_MAX];
    static char *shell[] = {program, NULL};
    const char *given = lab_variable("SHELL");
    char **words = options.command;

    if (words == NULL) {
        snprintf(program, sizeof program, "%s", given != NULL ? given : "/bin/sh");
        return shell;
    }
    if (options.emulator != NULL) {
        snprintf(program, sizeof program, "%s", options.emulator);
        snprintf(preload, sizeof preload, "LD_PRELOAD=%s", options.preload);
        *--words = preload;
        *--words = preload_option;
        *--words = program;
    }
    return words;
}

/* Both */

static char **prepare_command(struct store *store, const char *state)
{
    if (options.trace != NULL)
        open_trace(options.trace);
    if (options.traffic >= 0)
        offer(store, state, (uint32_t)options.traffic);
    store_close(store);
    set_environment(state);
    return words_to_run();
}

struct launch launcher_begin(int argc, char **argv)
{
    struct launch launch = {NULL, variables};
    struct store store;
    const char *state;

    options_read(argc, argv, &options);
    state = options.state != NULL ? options.state : usual_state();
    open_state(&store, state);
    switch (options.task) {
    case run_command:
        launch.words = prepare_command(&store, state);
        return launch;
    case reboot:
        keep(state, store_reset(&store));
        break;
    case show_status:
        print_status(state_of(&store, state, STORE_MODULE), state_of(&store, state, STORE_LIBRARY));
        break;
    case show_log:
        print_log(state_of(&store, state, STORE_MODULE));
        break;
    }
    store_close(&store);
    return launch;
}

void launcher_end(void)
{
    while (variable_count > 0) {
        free(variables[--variable_count]);
        variables[variable_count] = NULL;
    }
    if (session_path[0] != '\0')
        unlink(session_path);
    session_path[0] = '\0';
}
