#include "gateway.h"

#include "device.h"
#include "equal.h"
#include "limit_db.h"
#include "message.h"
#include "number.h"
#include "record.h"
#include "seam_device.h"
#include "walk.h"

static bool cannot_read(const char *kind, const char *name, const char *why)
{
    const char *failed = gateway_failure();
    say("cannot read %s%s: %s", kind, name, failed != nullptr ? failed : why);
    return false;
}

static bool cannot_read(const char *what, const char *why)
{
    return cannot_read(what, "", why);
}

// Returns null at the end, or why the walk was broken off. It does end: each answer takes a place that was free.
static const char *walk_rules(int profile, configuration *held, const configuration *like)
{
    kxqos_rule_t rule;
    clear(&rule);
    rule.table_id = static_cast<uint16_t>(profile);
    for (;;) {
        if (get_next_valid_rule_entry(&rule) != 0)
            return "no answer";
        if (rule.rule_id == 0)
            return nullptr;
        const int at = rule_place(rule.table_id, rule.rule_id);
        if (at < 0 || rule.table_id != profile)
            return "the kernel module gave a rule that there cannot be";
        if (held->rules[at] != nullptr)
            return "the kernel module gave a rule twice";
        if (like != nullptr && like->rules[at] != nullptr && equal_rules(*like->rules[at], rule))
            held->rules[at] = like->rules[at];
        else
            keep_rule(held, at, rule);
    }
}

// The same.
static const char *walk_buckets(configuration *held)
{
    kxqos_rate_bucket_t bucket;
    clear(&bucket);
    for (;;) {
        if (get_next_valid_rate_bucket(&bucket) != 0)
            return "no answer";
        if (bucket.bucketID == 0)
            return nullptr;
        if (bucket.bucketID > KXQOS_BUCKET_LAST)
            return "the kernel module gave a bucket that there cannot be";
        kxqos_rate_bucket_t &place = held->buckets[bucket.bucketID - 1];
        if (place.bucketID != 0)
            return "the kernel module gave a bucket twice";
        place = bucket;
    }
}

static bool read_rules(configuration *held, const configuration *like)
{
    bool whole = true;
    for (int profile = 0; profile < KXQOS_PROFILE_MAX; profile++) {
        if (const char *why = walk_rules(profile, held, like)) {
            held->unread |= 1U << profile;
            whole = cannot_read("the rules of profile ", qosProfileName[profile].name, why);
        }
    }
    return whole;
}

static bool read_buckets(configuration *held)
{
    const char *why = walk_buckets(held);
    if (why == nullptr)
        return true;
    held->unread |= unread_buckets;
    return cannot_read("the buckets", why);
}

static bool read_limits(configuration *held)
{
    bool whole = true;
    for (int upDir = 1; upDir >= 0; upDir--) {
        if (get_rate_limit_db(&held->limits[upDir]) != 0) {
            held->unread |= unread_limits(upDir);
            whole = cannot_read(upDir != 0 ? "the limits up" : "the limits down", "");
        }
    }
    return whole;
}

static bool read_switches(configuration *held)
{
    bool whole = true;
    for (int i = 0; i < switch_count; i++) {
        uint32_t state = 0;
        if (kxqosctl_ioctl(KXQOS_REQUEST(gateway_switches[i].get), &state) == 0) {
            held->switches[i] = state != 0;
        } else {
            held->switches[i] = unknown_state;
            whole = cannot_read(gateway_switches[i].keyword, "");
        }
    }
    return whole;
}

static bool read_counters(configuration *held, const names *names)
{
    bool whole = true;
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        if (names != nullptr && names->counters[number].number == 0)
            continue;
        kxqos_counter_info_s info;
        clear(&info);
        info.counterID = number;
        if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_COUNTER_GET), &info) == 0) {
            held->counters[number] = info.counterID != 0;
        } else {
            held->counters[number] = unknown_state;
            char name[12];
            put_decimal(name, static_cast<u32>(number));
            whole = cannot_read("counter ", name, "");
        }
    }
    return whole;
}

static bool read_debug(configuration *held, const names *names)
{
    if (names != nullptr && names->debugBits == 0)
        return true;
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_GET), &held->debug) == 0)
        return true;
    held->unread |= unread_debug;
    return cannot_read("the debug flags", "");
}

// All else is read over what was there, or not looked at when it cannot be read.
static void forget(configuration *held)
{
    clear(&held->rules);
    for (kxqos_rate_bucket_t &bucket : held->buckets)
        bucket.bucketID = 0;
    held->unread = 0;
    start_configuration(held);
}

bool read_gateway(configuration *held, const names *names, const configuration *like)
{
    use_gateway();
    gateway_failure();
    forget(held);
    bool whole = read_switches(held);
    whole &= read_rules(held, like);
    whole &= read_buckets(held);
    whole &= read_limits(held);
    whole &= read_counters(held, names);
    whole &= read_debug(held, names);
    return whole;
}
