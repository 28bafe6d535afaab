/* What the tool never does to the device: bad pointers and unknown requests. Prints what went wrong; status 0 if
 * nothing did. */
#include "kxqos.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

static int failures;

static void expect(const char *what, int device, unsigned long request, void *argument, int error)
{
    const int result = ioctl(device, request, argument);
    const int got = result < 0 ? errno : 0;

    if (got != error) {
        printf("%s: %s instead of %s\n", what, strerror(got), strerror(error));
        failures++;
    }
}

int main(void)
{
    const int device = open(KXQOS_DEVICE, O_RDWR);
    const size_t page = 4096;
    char *pages = mmap(NULL, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    kxqos_rule_t rule;

    if (device < 0 || pages == MAP_FAILED || munmap(pages + page, page) != 0) {
        perror("probe");
        return 2;
    }
    memset(&rule, 0, sizeof rule);
    rule.rule_id = 1;

    expect("a null payload", device, KXQOS_REQUEST(KXQOS_RULE_ADD), NULL, EFAULT);
    expect("a payload nowhere", device, KXQOS_REQUEST(KXQOS_RULE_ADD), (void *)1, EFAULT);
    expect("a kernel address", device, KXQOS_REQUEST(KXQOS_RULE_ADD), (void *)0xffff800008000000, EFAULT);
    expect("a payload cut off by a byte", device, KXQOS_REQUEST(KXQOS_RULE_ADD), pages + page - 239, EFAULT);
    expect("nothing was added so far", device, KXQOS_REQUEST(KXQOS_RULE_GET), &rule, ENOENT);
    memcpy(pages + page - 240, &rule, sizeof rule);
    expect("a payload up to the end of a page", device, KXQOS_REQUEST(KXQOS_RULE_ADD), pages + page - 240, 0);
    expect("now it is there", device, KXQOS_REQUEST(KXQOS_RULE_GET), &rule, 0);
    expect("a four-byte payload at the end", device, KXQOS_REQUEST(KXQOS_STATE_GET), pages + page - 4, 0);
    expect("the same cut off", device, KXQOS_REQUEST(KXQOS_STATE_GET), pages + page - 3, EFAULT);
    mprotect(pages, page, PROT_READ);
    expect("a payload to be filled that is read-only", device, KXQOS_REQUEST(KXQOS_STATE_GET), pages, EFAULT);
    expect("a number that is no request", device, KXQOS_REQUEST(4), &rule, ENOTTY);
    expect("a request with another size", device, 0x40f0580d, &rule, ENOTTY);
    expect("a request in the other direction", device, 0x80085810, &rule, ENOTTY);
    expect("a rule of no profile", device, KXQOS_REQUEST(KXQOS_RULE_DELETE), memset(&rule, 0xff, sizeof rule), EINVAL);
    close(device);
    return failures == 0 ? 0 : 1;
}
