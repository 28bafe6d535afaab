#include "device.h"
#include "output.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

int kxqosctl_ioctl(uint32_t cmd, void *pData)
{
    const int fd = open(KXQOS_DEVICE, O_RDWR);
    if (fd < 0) {
        print_line("Open kxqos dev failure!");
        return -1;
    }
    const int result = ioctl(fd, cmd, pData);
    close(fd);
    return result < 0 ? -1 : result;
}
