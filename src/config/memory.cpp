#include "memory.h"

#include "record.h"

static int next_rule(const configuration &held, kxqos_rule_t *cursor)
{
    const int profile = cursor->table_id;
    const int first = first_place(profile);
    const int last = first_place(profile + 1);
    for (int place = first + cursor->rule_id; place < last; place++) {
        if (held.rules[place] != nullptr) {
            *cursor = *held.rules[place];
            return 0;
        }
    }
    cursor->rule_id = 0;
    return 0;
}

static int next_bucket(const configuration &held, kxqos_rate_bucket_t *cursor)
{
    for (int place = cursor->bucketID; place < KXQOS_BUCKET_LAST; place++) {
        if (held.buckets[place].bucketID != 0) {
            *cursor = held.buckets[place];
            return 0;
        }
    }
    cursor->bucketID = 0;
    return 0;
}

template <typename Limit, size_t Half, size_t Size>
static void copy_half(Limit (&half)[Half], const Limit (&entries)[Size], int part)
{
    static_assert(2 * Half == Size);
    memcpy(half, entries + part * static_cast<int>(Half), sizeof half);
}

static int get_limits(const configuration &held, kxqos_rl_ioctl_t *half)
{
    const kxqos_rl_t &limits = held.limits[half->upDir];
    const int part = half->secondPart;
    half->mode = limits.mode;
    copy_half(half->ipRule, limits.ipRule, part);
    copy_half(half->vlanRule, limits.vlanRule, part);
    copy_half(half->portRule, limits.portRule, part);
    return 0;
}

static int get_switch(const configuration &held, kxqos_request request, void *payload)
{
    for (int i = 0; i < switch_count; i++) {
        if (gateway_switches[i].get == request) {
            *static_cast<uint32_t *>(payload) = held.switches[i];
            return 0;
        }
    }
    return -1;
}

// As the module answers: a counter that is not enabled has no number.
static int get_counter(const configuration &held, kxqos_counter_info_s *info)
{
    if (held.counters[info->counterID] == 0)
        info->counterID = 0;
    return 0;
}

int answer_from_memory(const configuration &held, kxqos_request request, void *payload)
{
    switch (request) {
    case KXQOS_RULE_NEXT:
        return next_rule(held, static_cast<kxqos_rule_t *>(payload));
    case KXQOS_BUCKET_NEXT:
        return next_bucket(held, static_cast<kxqos_rate_bucket_t *>(payload));
    case KXQOS_RATE_LIMIT_GET:
        return get_limits(held, static_cast<kxqos_rl_ioctl_t *>(payload));
    case KXQOS_COUNTER_GET:
        return get_counter(held, static_cast<kxqos_counter_info_s *>(payload));
    case KXQOS_DEBUG_GET:
        *static_cast<uint32_t *>(payload) = held.debug;
        return 0;
    default:
        return get_switch(held, request, payload);
    }
}
