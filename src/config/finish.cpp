#include "verbs.h"

#include "message.h"
#include "output.h"

#include <errno.h>
#include <string.h>

bool finish_standard_output()
{
    errno = 0;
    if (finish_output() == 0)
        return true;
    say("standard output: %s", strerror(errno));
    return false;
}
