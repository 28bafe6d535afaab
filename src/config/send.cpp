#include "send.h"

#include "device.h"
#include "limit_db.h"
#include "output.h"
#include "record.h"
#include "seam_device.h"

#include <stdio.h>

static const char *request_failure()
{
    const char *failure = gateway_failure();
    return failure != nullptr ? failure : "the kernel module refused it";
}

// What the tool calls a failure of a request: with strict, any result but 0.
static const char *send(kxqos_request request, void *payload, bool strict)
{
    const int result = kxqosctl_ioctl(KXQOS_REQUEST(request), payload);
    return result < 0 || (strict && result != 0) ? request_failure() : nullptr;
}

static const char *send_word(kxqos_request request, uint32_t word)
{
    return send(request, &word, false);
}

static const char *send_counter(int number, bool enabled)
{
    kxqos_counter_info_s info;
    clear(&info);
    info.counterID = number;
    return send(enabled ? KXQOS_COUNTER_ENABLE : KXQOS_COUNTER_DISABLE, &info, true);
}

// As it stands in a configuration: set when it is there, deleted when it is not.
static const char *send_bucket(const configuration &configuration, int at)
{
    kxqos_rate_bucket_t bucket;
    clear(&bucket);
    bucket.bucketID = static_cast<uint16_t>(at + 1);
    if (configuration.buckets[at].bucketID == 0)
        return send(KXQOS_BUCKET_DELETE, &bucket, false);
    bucket.rateLimit = configuration.buckets[at].rateLimit;
    return send(KXQOS_BUCKET_SET, &bucket, false);
}

static int profile_of(int at)
{
    int profile = 0;
    while (at >= first_place(profile + 1))
        profile++;
    return profile;
}

static const char *send_rule(const configuration &configuration, int at)
{
    kxqos_rule_t rule;
    if (configuration.rules[at] != nullptr) {
        rule = *configuration.rules[at];
        rule.counter = 0;
        return send(KXQOS_RULE_ADD, &rule, false);
    }
    const int profile = profile_of(at);
    clear(&rule);
    rule.table_id = static_cast<uint16_t>(profile);
    rule.rule_id = static_cast<uint16_t>(at - first_place(profile) + 1);
    return send(KXQOS_RULE_DELETE, &rule, false);
}

static const char *send_reset(int profile)
{
    kxqos_rule_t rule;
    clear(&rule);
    rule.table_id = static_cast<uint16_t>(profile);
    return send(KXQOS_RULE_RESET, &rule, false);
}

static const char *send_limit(const kxqos_rl_t &db, const change &change, bool enable)
{
    static char failure[48];
    const limit_table table = table_of(&db, change.mode);
    mark_switch(true);
    expect_output(); // the library may print
    const int result = switch_entry(table, limit_at(table, change.index), enable);
    if (result == 0)
        return nullptr;
    snprintf(failure, sizeof failure, "the library gave %d for the switch", result);
    return failure;
}

// Marked before the database names what is not yet in the switch.
static const char *send_limits(const kxqos_rl_t &db)
{
    mark_switch(true);
    return set_rate_limit_db(&db) == 0 ? nullptr : request_failure();
}

// Gives the thing that a change is about the state that it has in a configuration.
static const char *send_state(const change &change, const configuration &configuration)
{
    switch (change.kind) {
    case change_kind::counter_enable:
    case change_kind::counter_disable:
        return send_counter(change.index, configuration.counters[change.index] != 0);
    case change_kind::switch_set:
        return send_word(gateway_switches[change.index].set, configuration.switches[change.index]);
    case change_kind::bucket_set:
    case change_kind::bucket_delete:
        return send_bucket(configuration, change.index);
    case change_kind::rule_set:
    case change_kind::rule_delete:
        return send_rule(configuration, change.index);
    case change_kind::limits_write:
        return send_limits(configuration.limits[change.upDir]);
    default:
        return send_word(KXQOS_DEBUG_SET, configuration.debug);
    }
}

const char *send_change(const change &change, const sides &sides)
{
    switch (change.kind) {
    case change_kind::refresh:
        return send_word(KXQOS_REFRESH_SET, sides.refreshWord);
    case change_kind::rule_reset:
        return send_reset(change.index);
    case change_kind::limit_remove:
        return send_limit(sides.from->limits[change.upDir], change, false);
    case change_kind::limit_install:
        return send_limit(sides.to->limits[change.upDir], change, true);
    default:
        return send_state(change, *sides.to);
    }
}

// What fails of it is seen by reading.
static void undo_reset(const configuration &from, int profile)
{
    for (int at = first_place(profile); at < first_place(profile + 1); at++)
        if (from.rules[at] != nullptr)
            send_rule(from, at);
}

const char *undo_change(const change &change, const sides &sides)
{
    switch (change.kind) {
    case change_kind::refresh:
        return nullptr; // what it was before cannot be known
    case change_kind::rule_reset:
        undo_reset(*sides.from, change.index);
        return nullptr;
    case change_kind::limit_remove:
        return send_limit(sides.from->limits[change.upDir], change, true);
    case change_kind::limit_install:
        return send_limit(sides.to->limits[change.upDir], change, false);
    default:
        return send_state(change, *sides.from);
    }
}
