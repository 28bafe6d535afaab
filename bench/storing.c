/* The other gateway of the benchmark: it stores what is set and gives it back, in the file "gateway" of the folder that
 * the tool is run in, so that one process sees what another has set. Like device.c it is a part of the benchmark's own
 * libkx.so. The file is read and written, not mapped: nothing of it is resident memory of the tool.
 *
 * A file of zeros is a gateway just switched on. Requests that no configuration needs are refused. */
#include "kernel.h"
#include "kxqos.h"
#include "libkx.h"

#include <fcntl.h>
#include <stdarg.h>

#define AT(member) offsetof(struct stored, member)

enum { HIGHEST_RULE = 512 };

/* The file. */
struct stored {
    uint32_t words[UINT8_MAX + 1]; /* by the number of the request that sets it */
    uint8_t has_rule[KXQOS_PROFILE_MAX][HIGHEST_RULE + 1];
    kxqos_rule_t rules[KXQOS_PROFILE_MAX][HIGHEST_RULE + 1];
    kxqos_rate_bucket_t buckets[KXQOS_BUCKET_LAST + 1];
    kxqos_rl_ioctl_t halves[2][2];
    int32_t counters[KXQOS_COUNTER_LAST + 1]; /* a counter's number when it is enabled */
};

static void load(int fd, void *record, size_t size, size_t at)
{
    kernel(SYS_pread64, fd, (long)record, (long)size, (long)at);
}

static void keep(int fd, const void *record, size_t size, size_t at)
{
    kernel(SYS_pwrite64, fd, (long)record, (long)size, (long)at);
}

static void mark_rule(int fd, const kxqos_rule_t *rule, uint8_t there)
{
    keep(fd, &there, sizeof there, AT(has_rule) + rule->table_id * (HIGHEST_RULE + 1u) + rule->rule_id);
}

static size_t place_of(const kxqos_rule_t *rule)
{
    return AT(rules) + (rule->table_id * (HIGHEST_RULE + 1u) + rule->rule_id) * sizeof *rule;
}

static void reset_rules(int fd, const kxqos_rule_t *rule)
{
    static const uint8_t none[HIGHEST_RULE + 1];

    keep(fd, none, sizeof none, AT(has_rule) + rule->table_id * sizeof none);
}

static void next_rule(int fd, kxqos_rule_t *rule)
{
    uint8_t has[HIGHEST_RULE + 1];

    load(fd, has, sizeof has, AT(has_rule) + rule->table_id * sizeof has);
    for (unsigned id = rule->rule_id + 1u; id <= HIGHEST_RULE; id++) {
        if (has[id]) {
            rule->rule_id = (uint16_t)id;
            load(fd, rule, sizeof *rule, place_of(rule));
            return;
        }
    }
    rule->rule_id = 0;
}

static void keep_bucket(int fd, const kxqos_rate_bucket_t *bucket, uint16_t id)
{
    kxqos_rate_bucket_t kept = {.bucketID = id, .rateLimit = bucket->rateLimit};

    keep(fd, &kept, sizeof kept, AT(buckets) + bucket->bucketID * sizeof kept);
}

static void next_bucket(int fd, kxqos_rate_bucket_t *bucket)
{
    kxqos_rate_bucket_t all[KXQOS_BUCKET_LAST + 1];

    load(fd, all, sizeof all, AT(buckets));
    for (unsigned id = bucket->bucketID + 1u; id <= KXQOS_BUCKET_LAST; id++) {
        if (all[id].bucketID) {
            *bucket = all[id];
            return;
        }
    }
    bucket->bucketID = 0;
}

static size_t place_of_half(const kxqos_rl_ioctl_t *half)
{
    return AT(halves) + (half->upDir * 2u + half->secondPart) * sizeof *half;
}

static void load_half(int fd, kxqos_rl_ioctl_t *half)
{
    const uint8_t upDir = half->upDir, secondPart = half->secondPart;

    load(fd, half, sizeof *half, place_of_half(half));
    half->upDir = upDir;
    half->secondPart = secondPart;
}

static size_t place_of_counter(const kxqos_counter_info_s *counter)
{
    return AT(counters) + (size_t)counter->counterID * sizeof counter->counterID;
}

static int change(int fd, unsigned number, void *data)
{
    static const int32_t disabled = 0;

    switch (number) {
    case KXQOS_RULE_ADD:
        keep(fd, data, sizeof(kxqos_rule_t), place_of(data));
        mark_rule(fd, data, 1);
        return 0;
    case KXQOS_RULE_DELETE:
        mark_rule(fd, data, 0);
        return 0;
    case KXQOS_RULE_RESET:
        reset_rules(fd, data);
        return 0;
    case KXQOS_BUCKET_SET:
        keep_bucket(fd, data, ((kxqos_rate_bucket_t *)data)->bucketID);
        return 0;
    case KXQOS_BUCKET_DELETE:
        keep_bucket(fd, data, 0);
        return 0;
    case KXQOS_RATE_LIMIT_SET:
        keep(fd, data, sizeof(kxqos_rl_ioctl_t), place_of_half(data));
        return 0;
    case KXQOS_COUNTER_ENABLE:
        keep(fd, data, sizeof(int32_t), place_of_counter(data));
        return 0;
    case KXQOS_COUNTER_DISABLE:
        keep(fd, &disabled, sizeof disabled, place_of_counter(data));
        return 0;
    default:
        return -1;
    }
}

/* Fine classification begins enabled. */
static int set_word(int fd, unsigned number, const uint32_t *word)
{
    const uint32_t kept = *word ^ (number == KXQOS_FINE_CLASSIFY_SET);

    keep(fd, &kept, sizeof kept, AT(words) + number * sizeof kept);
    return 0;
}

static int get_word(int fd, unsigned number, uint32_t *word)
{
    load(fd, word, sizeof *word, AT(words) + number * sizeof *word);
    *word ^= number == KXQOS_FINE_CLASSIFY_SET;
    return 0;
}

EXPORTED int open(const char *path, int flags, ...)
{
    static const char device[] = KXQOS_DEVICE;
    size_t same = 0;

    while (same < sizeof device && path[same] == device[same])
        same++;
    return (int)kernel(SYS_openat, AT_FDCWD, (long)(same == sizeof device ? "gateway" : path), flags, 0);
}

EXPORTED int ioctl(int fd, unsigned long request, ...)
{
    const unsigned number = request & 0xFF;
    va_list arguments;

    va_start(arguments, request);
    void *data = va_arg(arguments, void *);
    va_end(arguments);
    kernel(SYS_ioctl, fd, (long)request, (long)data, 0); /* refused by the file */
    switch (number) {
    case KXQOS_RULE_NEXT:
        next_rule(fd, data);
        return 0;
    case KXQOS_BUCKET_NEXT:
        next_bucket(fd, data);
        return 0;
    case KXQOS_RATE_LIMIT_GET:
        load_half(fd, data);
        return 0;
    case KXQOS_COUNTER_GET:
        load(fd, data, sizeof(int32_t), place_of_counter(data));
        return 0;
    case KXQOS_DEBUG_SET:
    case KXQOS_STATE_SET:
    case KXQOS_PURE_DSCP_SET:
    case KXQOS_FINE_CLASSIFY_SET:
        return set_word(fd, number, data);
    case KXQOS_DEBUG_GET:
        return get_word(fd, KXQOS_DEBUG_SET, data);
    case KXQOS_STATE_GET:
        return get_word(fd, KXQOS_STATE_SET, data);
    case KXQOS_PURE_DSCP_GET:
        return get_word(fd, KXQOS_PURE_DSCP_SET, data);
    case KXQOS_FINE_CLASSIFY_GET:
        return get_word(fd, KXQOS_FINE_CLASSIFY_SET, data);
    default:
        return change(fd, number, data);
    }
}

/* The switch, which takes every limit; the lab's stand-in, outside the lab, takes none, and gives way to these. */

EXPORTED libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t ipMin, uint32_t ipMax, uint32_t direction,
                                                          uint32_t enable, uint32_t rate)
{
    (void)ipMin, (void)ipMax, (void)direction, (void)enable, (void)rate;
    return LIBKX_RET_OK;
}

EXPORTED libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t vid, uint32_t direction, uint32_t enable,
                                                          uint32_t rate)
{
    (void)vid, (void)direction, (void)enable, (void)rate;
    return LIBKX_RET_OK;
}
