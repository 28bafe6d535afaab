/* What every floor has: both libraries really needed, and one request as the tool makes it. */
#include "libkx.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

int (*volatile keep)(int) = libkx_qos_is_counter_created; /* never called */

static int ask(unsigned long nr, void *record)
{
    const int fd = open("/dev/kxqos", O_RDWR);
    const int result = ioctl(fd, KXQOS_REQUEST(nr), record);

    close(fd);
    return result;
}

/* The tool's buffer, so that both write equally often. */
static void buffer_output(void)
{
    static char buffer[16384];

    setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}
