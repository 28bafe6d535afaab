// Preloaded into the tool: a module whose walks never end. ROBUST_WALK says which: "rules" and "library" return rule 5
// for ever, "buckets" bucket 5; every other request succeeds and fills in nothing.
#define _GNU_SOURCE
#include "libkx.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

static int walk_is(const char *name)
{
    const char *walk = getenv("ROBUST_WALK");
    return walk != NULL && strcmp(walk, name) == 0;
}

int open(const char *file, int flags, ...)
{
    typedef int open_function(const char *, int, ...);
    open_function *next = (open_function *)dlsym(RTLD_NEXT, "open");
    return next(strcmp(file, KXQOS_DEVICE) == 0 ? "/dev/null" : file, flags, 0);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list rest;
    (void)fd;
    va_start(rest, request);
    void *payload = va_arg(rest, void *);
    va_end(rest);
    if (request == KXQOS_REQUEST(KXQOS_RULE_NEXT))
        ((kxqos_rule_t *)payload)->rule_id = walk_is("rules") ? 5 : 0;
    if (request == KXQOS_REQUEST(KXQOS_BUCKET_NEXT))
        ((kxqos_rate_bucket_t *)payload)->bucketID = walk_is("buckets") ? 5 : 0;
    return 0;
}

libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule)
{
    rule->rule_id = 5;
    return walk_is("library") ? LIBKX_RET_OK : LIBKX_RET_FAIL;
}
