/* For a library that is preloaded: what it does in place of a program's main. It defines in_place_of_main, which gets
 * main's arguments, and may call main itself through program. */
#ifndef SUPPORT_BEFORE_MAIN_H
#define SUPPORT_BEFORE_MAIN_H

#include <dlfcn.h>
#include <string.h>

typedef int main_function(int, char **, char **);

static main_function *program;

static int in_place_of_main(int argc, char **argv, char **environment);

/* The first thing that a program calls, to have its main run. */
int __libc_start_main(main_function *main, int argc, char **argv, void (*init)(void), void (*fini)(void),
                      void (*loader_fini)(void), void *stack_end)
{
    int (*next)(main_function *, int, char **, void (*)(void), void (*)(void), void (*)(void), void *);
    void *address = dlsym(RTLD_NEXT, "__libc_start_main");

    memcpy(&next, &address, sizeof next);
    program = main;
    return next(in_place_of_main, argc, argv, init, fini, loader_fini, stack_end);
}

#endif
