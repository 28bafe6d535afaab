// The seam to the kernel module.
#ifndef KXQOSCTL_DEVICE_H
#define KXQOSCTL_DEVICE_H

#include "kxqos.h"

// Opens the device, makes one request (KXQOS_REQUEST(nr)) with the payload at pData and closes it again. Returns the
// result: 0, a positive result of the module's as it is, or -1 for any failure. Prints a line when the device cannot
// be opened, and nothing else.
int kxqosctl_ioctl(uint32_t cmd, void *pData);

#endif
