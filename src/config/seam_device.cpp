#include "seam_device.h"

#include "device.h"
#include "memory.h"
#include "message.h"
#include "recorder.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

enum class below : uint8_t { nothing, gateway, recorder, memory };

static below used = below::nothing;
static const configuration *remembered = nullptr;
static int descriptor = -1;
static char failure[96];

static bool lock(unsigned seconds)
{
    constexpr int tries_a_second = 20;
    for (long tries = static_cast<long>(seconds) * tries_a_second; flock(descriptor, LOCK_EX | LOCK_NB) != 0; tries--) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            say("%s: cannot be locked: %s", KXQOS_DEVICE, strerror(errno));
            return false;
        }
        if (tries <= 0) {
            say("another kxqos-config is at work on the gateway");
            return false;
        }
        poll(nullptr, 0, 1000 / tries_a_second);
    }
    return true;
}

bool open_unlocked_gateway()
{
    descriptor = open(KXQOS_DEVICE, O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        say("%s: %s", KXQOS_DEVICE, strerror(errno));
    return descriptor >= 0;
}

bool open_gateway(unsigned seconds)
{
    return open_unlocked_gateway() && lock(seconds);
}

void unlock_gateway()
{
    flock(descriptor, LOCK_UN);
}

// As it was when it was last looked at or changed.
static mode_t device_mode;

bool switch_is_unsure()
{
    struct stat status;
    status.st_mode = 0;
    fstat(descriptor, &status);
    device_mode = status.st_mode & 07777;
    return (device_mode & S_ISVTX) != 0;
}

void mark_switch(bool unsure)
{
    const mode_t mode = unsure ? device_mode | S_ISVTX : device_mode & ~static_cast<mode_t>(S_ISVTX);
    if (mode == device_mode)
        return;
    device_mode = mode;
    fchmod(descriptor, mode);
}

void use_gateway()
{
    used = below::gateway;
}

void use_recorder()
{
    used = below::recorder;
}

void use_memory(const configuration *held)
{
    used = below::memory;
    remembered = held;
}

const char *gateway_failure()
{
    static char last[sizeof failure];
    memcpy(last, failure, sizeof last);
    failure[0] = '\0';
    return last[0] != '\0' ? last : nullptr;
}

static int send_request(uint32_t request, void *payload)
{
    const int result = ioctl(descriptor, request, payload);
    if (result != 0)
        snprintf(failure, sizeof failure, "request %d gave %d (%s)", static_cast<int>(request - KXQOS_REQUEST(0)),
                 result, result < 0 ? strerror(errno) : "not an error number");
    return result < 0 ? -1 : result;
}

int kxqosctl_ioctl(uint32_t cmd, void *pData)
{
    const auto request = static_cast<kxqos_request>(cmd - KXQOS_REQUEST(0));
    switch (used) {
    case below::gateway:
        return send_request(cmd, pData);
    case below::recorder:
        return record_request(request, pData);
    case below::memory:
        return answer_from_memory(*remembered, request, pData);
    default:
        return -1;
    }
}
