#include "config_program.h"

#include "test_command.h"

#include <errno.h>
#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

gateway found;

void check(bool condition, const char *what)
{
    if (condition)
        return;
    dprintf(STDERR_FILENO, "FINDING: %s\n", what); // the stream may be the program's
    abort();
}

// The program's data

extern char __start_config_cleared[], __stop_config_cleared[]; // NOLINT(bugprone-reserved-identifier)
extern char __start_config_set[], __stop_config_set[];         // NOLINT(bugprone-reserved-identifier)

// Between the variables are the sanitizer's own bytes, which nobody else may touch.
__attribute__((no_sanitize("address"))) static void copy(volatile char *to, const char *from, size_t size)
{
    for (size_t i = 0; i < size; i++)
        to[i] = from == nullptr ? '\0' : from[i];
}

static void start_anew()
{
    static const std::string set = [] {
        // cppcheck-suppress comparePointers // the linker has them at the two ends of one section
        std::string bytes(static_cast<size_t>(__stop_config_set - __start_config_set), '\0');
        copy(bytes.data(), __start_config_set, bytes.size());
        return bytes;
    }();
    copy(__start_config_set, set.data(), set.size());
    constexpr uintptr_t page = 4096;
    const auto start = reinterpret_cast<uintptr_t>(__start_config_cleared);
    const auto stop = reinterpret_cast<uintptr_t>(__stop_config_cleared);
    const uintptr_t first = (start + page - 1) / page * page;
    const uintptr_t last = stop / page * page;
    copy(__start_config_cleared, nullptr, first - start);
    copy(__stop_config_cleared - (stop - last), nullptr, stop - last);
    // A whole page. NOLINTNEXTLINE(performance-no-int-to-ptr)
    check(madvise(reinterpret_cast<void *>(first), last - first, MADV_DONTNEED) == 0, "its data cannot be cleared");
}

// The system, as the program's sources are compiled to call it

static std::string_view given;
static constexpr int device = 100000;

static int answer_request(uint32_t request, void *payload)
{
    if (found.before != nullptr)
        found.before(found.requests);
    const bool changes = model_changes(request);
    const int result =
        found.answer != nullptr ? found.answer(request, payload) : model_request(&found.module, request, payload);
    if (changes && found.changes++ == 0)
        found.firstChange = found.requests;
    if (!changes && result != 0)
        found.failures++;
    found.requests++;
    check(found.requests < 100000, "it does not end");
    return result;
}

int config_main(int argc, char **argv);

extern "C" {

int config_open(const char *file, int flags, ...)
{
    return strcmp(file, KXQOS_DEVICE) == 0 ? device : open(file, flags & ~O_CREAT);
}

int config_close(int fd)
{
    return fd == device ? 0 : close(fd);
}

int config_flock(int /*fd*/, int /*operation*/)
{
    return 0;
}

ssize_t config_read(int /*fd*/, void *bytes, size_t size)
{
    const size_t some = given.copy(static_cast<char *>(bytes), size);
    given.remove_prefix(some);
    return static_cast<ssize_t>(some);
}

int config_ioctl(int /*fd*/, unsigned long request, ...)
{
    va_list rest;
    va_start(rest, request);
    void *payload = va_arg(rest, void *);
    va_end(rest);
    const int result = answer_request(static_cast<uint32_t>(request), payload);
    if (result >= 0)
        return result;
    errno = -result;
    return -1;
}

// The library, which the program gives what it has checked or read

static libkx_retCode_t take_limit(uint32_t direction, uint32_t enable)
{
    check(direction <= 1 && enable <= 1, "the library is called with invalid arguments");
    return LIBKX_RET_OK;
}

libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t /*ipMin*/, uint32_t /*ipMax*/, uint32_t direction,
                                                 uint32_t enable, uint32_t /*rate*/)
{
    return take_limit(direction, enable);
}

libkx_retCode_t libkx_switchApi_ipv6SetRateLimit(struct in6_addr /*ipMin*/, struct in6_addr /*ipMax*/,
                                                 uint32_t direction, uint32_t enable, uint32_t /*rate*/)
{
    return take_limit(direction, enable);
}

libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t /*vid*/, uint32_t direction, uint32_t enable,
                                                 uint32_t /*rate*/)
{
    return take_limit(direction, enable);
}

libkx_retCode_t libkx_switchApi_portSetRateLimit(uint16_t /*port*/, uint32_t direction, uint32_t enable,
                                                 uint32_t /*rate*/)
{
    return take_limit(direction, enable);
}
}

int do_test_command(int /*count*/, const char *const * /*words*/)
{
    return -1;
}

// Standard output and standard error

static ssize_t keep(void *text, const char *bytes, size_t size)
{
    static_cast<std::string *>(text)->append(bytes, size);
    return static_cast<ssize_t>(size);
}

static FILE *stream_into(std::string *text)
{
    cookie_io_functions_t functions = {};
    functions.write = keep;
    return fopencookie(text, "w", functions);
}

ran run_config(const std::vector<std::string> &words, std::string_view input)
{
    static std::string output;
    static std::string errors;
    static FILE *const streams[] = {stream_into(&output), stream_into(&errors)};
    FILE *const own[] = {stdout, stderr};
    std::vector<char *> arguments = {const_cast<char *>("kxqos-config")};
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    start_anew();
    found.requests = found.changes = found.firstChange = found.failures = 0;
    given = input;
    optind = 0; // getopt begins anew
    output.clear();
    errors.clear();
    stdout = streams[0];
    stderr = streams[1];
    const int status = config_main(static_cast<int>(words.size()) + 1, arguments.data());
    fflush(stdout);
    fflush(stderr);
    stdout = own[0];
    stderr = own[1];
    check(status >= 0 && status <= 3, "not a status of the program");
    return {status, output, errors};
}
