#include "verbs.h"

#include "message.h"
#include "output.h"

#include <errno.h>
#include <string.h>

bool finish_standard_output()
{
    errno = EIO; // for a write that was refused before, when nobody kept why
    if (finish_output() == 0)
        return true;
    say("standard output: %s", strerror(errno));
    return false;
}
