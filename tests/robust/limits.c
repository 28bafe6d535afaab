// Preloaded into the tool: takes something away from it when main begins, as the variable ROBUST_LIMIT says.
//   stack        main runs on 64 KiB, with nothing after them
//   memory       no allocation succeeds, and each is told on standard error
//   descriptors  nothing can be opened any more
#define _GNU_SOURCE
#include "before_main.h"

#include <errno.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>

static bool no_memory;

static struct {
    int argc;
    char **argv;
    char **environment;
    int result;
    ucontext_t outside;
    ucontext_t inside;
} run;

static void run_inside(void)
{
    run.result = program(run.argc, run.argv, run.environment);
}

static int on_small_stack(void)
{
    enum { size = 64 * 1024, guard = 64 * 1024 };
    char *stack = mmap(NULL, guard + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (stack == MAP_FAILED || mprotect(stack, guard, PROT_NONE) != 0 || getcontext(&run.inside) != 0)
        abort();
    run.inside.uc_stack.ss_sp = stack + guard;
    run.inside.uc_stack.ss_size = size;
    run.inside.uc_link = &run.outside;
    makecontext(&run.inside, run_inside, 0);
    if (swapcontext(&run.outside, &run.inside) != 0)
        abort();
    return run.result;
}

static int in_place_of_main(int argc, char **argv, char **environment)
{
    const char *limit = getenv("ROBUST_LIMIT");
    if (limit == NULL)
        abort();
    if (strcmp(limit, "stack") == 0) {
        run.argc = argc;
        run.argv = argv;
        run.environment = environment;
        return on_small_stack();
    }
    if (strcmp(limit, "memory") == 0) {
        no_memory = true;
    } else if (strcmp(limit, "descriptors") == 0) {
        const struct rlimit none = {3, 3};
        if (setrlimit(RLIMIT_NOFILE, &none) != 0)
            abort();
    } else {
        abort();
    }
    return program(argc, argv, environment);
}

// Allocation

extern void *__libc_malloc(size_t);
extern void *__libc_calloc(size_t, size_t);
extern void *__libc_realloc(void *, size_t);

static bool refused(void)
{
    static const char text[] = "an allocation\n";
    if (!no_memory)
        return false;
    if (write(2, text, sizeof text - 1) < 0)
        abort();
    errno = ENOMEM;
    return true;
}

void *malloc(size_t size)
{
    return refused() ? NULL : __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    return refused() ? NULL : __libc_calloc(count, size);
}

void *realloc(void *old, size_t size)
{
    return refused() ? NULL : __libc_realloc(old, size);
}
