#include "gateway.h"

#include "libkx.h"
#include "program.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

World world;
std::vector<Event> events;
void (*before_change)(uint32_t request, const void *payload);

static std::vector<Strike> planned;

void switch_on()
{
    model_init(&world.module);
    library_init(&world.switched);
}

void start_events(const std::vector<Strike> &strikes)
{
    events.clear();
    planned = strikes;
}

void end_faults()
{
    planned.clear();
}

size_t count_changes()
{
    return static_cast<size_t>(
        std::count_if(events.begin(), events.end(), [](const Event &e) { return e.request != 0 && e.changes; }));
}

size_t count_calls()
{
    return static_cast<size_t>(
        std::count_if(events.begin(), events.end(), [](const Event &e) { return e.request == 0; }));
}

static const Strike *strike_of(size_t at)
{
    for (const Strike &strike : planned)
        if (strike.at == at)
            return &strike;
    return nullptr;
}

// The device. Its descriptor is a number that nothing else has.
static constexpr int device = 100000;

static int carry_out(uint32_t request, void *payload)
{
    const bool changes = model_changes(request);
    const Strike *strike = strike_of(events.size());
    events.push_back({request - KXQOS_REQUEST_BASE, changes});
    if (strike != nullptr && strike->fault == Fault::not_done)
        return -EIO;
    if (strike != nullptr && strike->fault == Fault::ignored)
        return 0;
    if (changes && before_change != nullptr)
        before_change(request - KXQOS_REQUEST_BASE, payload);
    const int result = model_request(&world.module, request, payload);
    if (strike == nullptr || result != 0)
        return result;
    return strike->fault == Fault::done ? -EIO : 5;
}

extern "C" {

int open(const char *file, int oflag, ...)
{
    if (strcmp(file, KXQOS_DEVICE) == 0)
        return device;
    va_list rest;
    va_start(rest, oflag);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, file, oflag, mode));
}

int close(int fd)
{
    return fd == device ? 0 : static_cast<int>(syscall(SYS_close, fd));
}

int flock(int fd, int operation) noexcept
{
    return fd == device ? 0 : static_cast<int>(syscall(SYS_flock, fd, operation));
}

ssize_t read(int fd, void *bytes, size_t size)
{
    if (fd == STDIN_FILENO)
        return static_cast<ssize_t>(read_input(static_cast<char *>(bytes), size));
    return syscall(SYS_read, fd, bytes, size);
}

int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list rest;
    va_start(rest, request);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    if (fd != device)
        return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
    const int result = carry_out(static_cast<uint32_t>(request), argument);
    if (result >= 0)
        return result;
    errno = -result;
    return -1;
}
}

// The library

static libkx_retCode_t set_limit(const library_limit &limit, uint32_t enable)
{
    const Strike *strike = strike_of(events.size());
    events.push_back({0, true});
    if (strike != nullptr && strike->fault == Fault::not_done)
        return LIBKX_RET_FAIL;
    const libkx_retCode_t result = library_set_limit(&world.switched, &limit, enable);
    return strike != nullptr && result == LIBKX_RET_OK ? LIBKX_RET_FAIL : result;
}

static libkx_retCode_t set_numbered(uint32_t kind, uint32_t number, uint32_t direction, uint32_t enable, uint32_t rate)
{
    library_limit limit = {};
    limit.kind = kind;
    limit.direction = direction;
    limit.min.ipv4Addr = number;
    limit.max.ipv4Addr = number;
    limit.rate = rate;
    return set_limit(limit, enable);
}

extern "C" {

libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t ipMin, uint32_t ipMax, uint32_t direction, uint32_t enable,
                                                 uint32_t rate)
{
    library_limit limit = {};
    limit.kind = LIBRARY_IPV4;
    limit.direction = direction;
    limit.min.ipv4Addr = ipMin;
    limit.max.ipv4Addr = ipMax;
    limit.rate = rate;
    return set_limit(limit, enable);
}

libkx_retCode_t libkx_switchApi_ipv6SetRateLimit(struct in6_addr ipMin, struct in6_addr ipMax, uint32_t direction,
                                                 uint32_t enable, uint32_t rate)
{
    library_limit limit = {};
    limit.kind = LIBRARY_IPV6;
    limit.direction = direction;
    limit.min.ipv6Addr = ipMin;
    limit.max.ipv6Addr = ipMax;
    limit.rate = rate;
    return set_limit(limit, enable);
}

libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t vid, uint32_t direction, uint32_t enable, uint32_t rate)
{
    return set_numbered(LIBRARY_VLAN, vid, direction, enable, rate);
}

libkx_retCode_t libkx_switchApi_portSetRateLimit(uint16_t port, uint32_t direction, uint32_t enable, uint32_t rate)
{
    return set_numbered(LIBRARY_PORT, port, direction, enable, rate);
}
}
