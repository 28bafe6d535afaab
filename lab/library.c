#include "library.h"

#include "model.h"

/* Limits in the switch */

static bool same_limit(const struct library_limit *left, const struct library_limit *right)
{
    return left->kind == right->kind && left->direction == right->direction &&
           memcmp(left->min.ipv6Addr.s6_addr, right->min.ipv6Addr.s6_addr, sizeof left->min) == 0 &&
           memcmp(left->max.ipv6Addr.s6_addr, right->max.ipv6Addr.s6_addr, sizeof left->max) == 0;
}

libkx_retCode_t library_set_limit(struct library *library, const struct library_limit *limit, uint32_t enable)
{
    struct library_limit *place = NULL;

    if (limit->direction > 1 || enable > 1)
        return LIBKX_RET_INVALID_PARAMETER;
    for (unsigned i = 0; i < LIBRARY_LIMITS; i++) {
        struct library_limit *here = &library->limits[i];
        if (same_limit(here, limit)) {
            place = here;
            break;
        }
        if (place == NULL && here->kind == LIBRARY_NO_LIMIT)
            place = here;
    }
    if (enable == 0) {
        if (place != NULL)
            memset(place, 0, sizeof *place);
        return LIBKX_RET_OK;
    }
    if (place == NULL)
        return LIBKX_RET_MEM_ALLOCATE_FAIL;
    *place = *limit;
    return LIBKX_RET_OK;
}

/* Traffic */

void library_offer(struct library *library, uint32_t packets)
{
    library->offered += packets;
    library->last_offer = packets;
}

/* What was offered since a counter was zero. A counter that is still zero has no speed. */
static struct library_traffic traffic_since(const struct library *library, uint64_t zero)
{
    const uint64_t packets = library->offered - zero;
    const uint64_t speed = packets == 0 ? 0 : library->last_offer * LIBRARY_PACKET_SIZE * 8 / 1000;
    struct library_traffic traffic;

    traffic.up_packets = packets;
    traffic.up_bytes = packets * LIBRARY_PACKET_SIZE;
    traffic.up_speed = (uint32_t)speed;
    traffic.down_packets = 2 * packets;
    traffic.down_bytes = 2 * packets * LIBRARY_PACKET_SIZE;
    traffic.down_speed = (uint32_t)(2 * speed);
    return traffic;
}

static bool is_flow_counter(int flow, int counter)
{
    return flow >= 0 && flow <= LIBKX_FLOW_LAST && counter >= 0 && counter <= LIBKX_ID_LAST;
}

libkx_retCode_t library_flow_get(const struct library *library, int flow, int counter, struct library_traffic *traffic)
{
    if (!is_flow_counter(flow, counter))
        return LIBKX_RET_INVALID_PARAMETER;
    *traffic = traffic_since(library, library->flow_zeros[flow][counter]);
    return LIBKX_RET_OK;
}

libkx_retCode_t library_flow_clear(struct library *library, int flow, int counter)
{
    if (!is_flow_counter(flow, counter))
        return LIBKX_RET_INVALID_PARAMETER;
    library->flow_zeros[flow][counter] = library->offered;
    return LIBKX_RET_OK;
}

/* Hosts */

static bool is_host(const struct library *library, int host)
{
    return host >= 1 && host <= LIBKX_HOST_LAST && library->hosts[host - 1].present != 0;
}

/* Creates the bucket and the counter that a host asks for, or neither. */
static libkx_retCode_t create_for_host(struct library *library, int *bucket, int *counter, uint32_t rate)
{
    libkx_retCode_t result = library_create_bucket(library, bucket, rate);

    if (result != LIBKX_RET_OK)
        return result;
    result = library_create_counter(library, counter);
    if (result != LIBKX_RET_OK)
        library_delete_bucket(library, *bucket);
    return result;
}

libkx_retCode_t library_host_add(struct library *library, int host, const struct library_host *wanted, int *bucket,
                                 int *counter)
{
    int new_bucket = *bucket;
    int new_counter = *counter;
    libkx_retCode_t result;

    if (host < 1 || host > LIBKX_HOST_LAST || is_host(library, host))
        return LIBKX_RET_INVALID_PARAMETER;
    result = create_for_host(library, &new_bucket, &new_counter, wanted->up_limit);
    if (result != LIBKX_RET_OK)
        return result;
    *bucket = new_bucket;
    *counter = new_counter;
    library->hosts[host - 1] = *wanted;
    library->hosts[host - 1].present = 1;
    library->hosts[host - 1].bucket = new_bucket;
    library->hosts[host - 1].counter = new_counter;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_host_delete(struct library *library, int host, const unsigned char *mac)
{
    struct library_host *entry;

    if (!is_host(library, host))
        return LIBKX_RET_INVALID_PARAMETER;
    entry = &library->hosts[host - 1];
    if (memcmp(entry->mac, mac, sizeof entry->mac) != 0)
        return LIBKX_RET_INVALID_PARAMETER;
    library_delete_bucket(library, entry->bucket);
    library_delete_counter(library, entry->counter);
    memset(entry, 0, sizeof *entry);
    return LIBKX_RET_OK;
}

libkx_retCode_t library_host_get(const struct library *library, int host, int counter, struct library_traffic *traffic)
{
    if (!is_host(library, host) || library->hosts[host - 1].counter != counter)
        return LIBKX_RET_INVALID_PARAMETER;
    return library_get_counter(library, counter, traffic);
}

libkx_retCode_t library_host_clear(struct library *library, int host, int counter)
{
    if (!is_host(library, host) || library->hosts[host - 1].counter != counter)
        return LIBKX_RET_INVALID_PARAMETER;
    return library_clear_counter(library, counter);
}

/* WAN interfaces: any name is one. */

static size_t name_length(const char *name)
{
    size_t length = 0;

    while (length <= LIBRARY_WAN_NAME && name[length] != '\0')
        length++;
    return length;
}

static bool is_wan_name(const char *name)
{
    const size_t length = name_length(name);

    return length >= 1 && length <= LIBRARY_WAN_NAME;
}

libkx_retCode_t library_wan_get(const struct library *library, const char *name, struct library_traffic *traffic)
{
    if (!is_wan_name(name))
        return LIBKX_RET_INVALID_PARAMETER;
    *traffic = traffic_since(library, 0);
    return LIBKX_RET_OK;
}

/* The place of an interface's limit, else the first free one. */
static struct library_wan *wan_place(struct library *library, const char *name)
{
    struct library_wan *place = NULL;

    for (unsigned i = 0; i < LIBRARY_WANS; i++) {
        struct library_wan *here = &library->wans[i];
        if (text_same(here->name, name))
            return here;
        if (place == NULL && here->name[0] == '\0')
            place = here;
    }
    return place;
}

libkx_retCode_t library_wan_set_limit(struct library *library, const char *name, uint32_t up_limit, uint32_t down_limit)
{
    struct library_wan *place;

    if (!is_wan_name(name))
        return LIBKX_RET_INVALID_PARAMETER;
    place = wan_place(library, name);
    if (up_limit == 0 && down_limit == 0) {
        if (place != NULL)
            memset(place, 0, sizeof *place);
        return LIBKX_RET_OK;
    }
    if (place == NULL)
        return LIBKX_RET_MEM_ALLOCATE_FAIL;
    memset(place, 0, sizeof *place);
    memcpy(place->name, name, name_length(name));
    place->up_limit = up_limit;
    place->down_limit = down_limit;
    return LIBKX_RET_OK;
}

/* Counters */

bool library_has_counter(const struct library *library, int counter)
{
    return counter >= 1 && counter <= KXQOS_COUNTER_LAST && library->counters[counter - 1].present != 0;
}

libkx_retCode_t library_create_counter(struct library *library, int *counter)
{
    int number = *counter;

    if (number < 0 || number > KXQOS_COUNTER_LAST || library_has_counter(library, number))
        return LIBKX_RET_INVALID_PARAMETER;
    if (number == 0) {
        for (number = 1; library_has_counter(library, number); number++)
            continue;
        if (number > KXQOS_COUNTER_LAST)
            return LIBKX_RET_MEM_ALLOCATE_FAIL;
    }
    library->counters[number - 1].present = 1;
    library->counters[number - 1].zero = library->offered;
    *counter = number;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_get_counter(const struct library *library, int counter, struct library_traffic *traffic)
{
    if (!library_has_counter(library, counter))
        return LIBKX_RET_INVALID_PARAMETER;
    *traffic = traffic_since(library, library->counters[counter - 1].zero);
    return LIBKX_RET_OK;
}

libkx_retCode_t library_clear_counter(struct library *library, int counter)
{
    if (!library_has_counter(library, counter))
        return LIBKX_RET_INVALID_PARAMETER;
    library->counters[counter - 1].zero = library->offered;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_delete_counter(struct library *library, int counter)
{
    if (!library_has_counter(library, counter))
        return LIBKX_RET_INVALID_PARAMETER;
    memset(&library->counters[counter - 1], 0, sizeof library->counters[0]);
    return LIBKX_RET_OK;
}

/* Buckets */

bool library_has_bucket(const struct library *library, int bucket)
{
    return bucket >= 1 && bucket <= KXQOS_BUCKET_LAST && library->buckets[bucket - 1].present != 0;
}

libkx_retCode_t library_create_bucket(struct library *library, int *bucket, uint32_t rate)
{
    int number = *bucket;

    if (number < 0 || number > KXQOS_BUCKET_LAST || library_has_bucket(library, number))
        return LIBKX_RET_INVALID_PARAMETER;
    if (number == 0) {
        for (number = 1; library_has_bucket(library, number); number++)
            continue;
        if (number > KXQOS_BUCKET_LAST)
            return LIBKX_RET_MEM_ALLOCATE_FAIL;
    }
    library->buckets[number - 1].present = 1;
    library->buckets[number - 1].rate = rate;
    *bucket = number;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_get_bucket(const struct library *library, int bucket, uint32_t *rate)
{
    if (!library_has_bucket(library, bucket))
        return LIBKX_RET_INVALID_PARAMETER;
    *rate = library->buckets[bucket - 1].rate;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_set_bucket(struct library *library, int bucket, uint32_t rate)
{
    if (!library_has_bucket(library, bucket))
        return LIBKX_RET_INVALID_PARAMETER;
    library->buckets[bucket - 1].rate = rate;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_delete_bucket(struct library *library, int bucket)
{
    if (!library_has_bucket(library, bucket))
        return LIBKX_RET_INVALID_PARAMETER;
    memset(&library->buckets[bucket - 1], 0, sizeof library->buckets[0]);
    return LIBKX_RET_OK;
}

/* Rules */

/* The index of a rule, -1 if it is not there. Rule 0 finds a free place. */
static int find_rule(const struct library *library, unsigned profile, unsigned rule)
{
    for (int i = 0; i < LIBRARY_RULES; i++) {
        if (library->rules[i].profile_id == profile && library->rules[i].rule_id == rule)
            return i;
    }
    return -1;
}

libkx_retCode_t library_add_rule(struct library *library, const libkx_qos_rule_s *rule)
{
    int place;

    if (rule->rule_id < 1 || rule->rule_id > model_rule_limit(rule->profile_id))
        return LIBKX_RET_INVALID_PARAMETER;
    place = find_rule(library, rule->profile_id, rule->rule_id);
    if (place < 0)
        place = find_rule(library, 0, 0);
    if (place < 0)
        return LIBKX_RET_MEM_ALLOCATE_FAIL;
    library->rules[place] = *rule;
    return LIBKX_RET_OK;
}

libkx_retCode_t library_get_rule(const struct library *library, libkx_qos_rule_s *rule)
{
    const int place = find_rule(library, rule->profile_id, rule->rule_id);

    if (place < 0 || rule->rule_id == 0)
        return LIBKX_RET_INVALID_PARAMETER;
    *rule = library->rules[place];
    return LIBKX_RET_OK;
}

libkx_retCode_t library_delete_rule(struct library *library, unsigned profile, unsigned rule)
{
    const int place = find_rule(library, profile, rule);

    if (place < 0 || rule == 0)
        return LIBKX_RET_INVALID_PARAMETER;
    memset(&library->rules[place], 0, sizeof library->rules[0]);
    return LIBKX_RET_OK;
}

static uint32_t rule_order(const libkx_qos_rule_s *rule)
{
    return (uint32_t)rule->profile_id << 16 | rule->rule_id;
}

libkx_retCode_t library_next_rule(const struct library *library, libkx_qos_rule_s *cursor)
{
    const libkx_qos_rule_s *next = NULL;

    for (unsigned i = 0; i < LIBRARY_RULES; i++) {
        const libkx_qos_rule_s *here = &library->rules[i];
        if (here->rule_id != 0 && rule_order(here) > rule_order(cursor) &&
            (next == NULL || rule_order(here) < rule_order(next)))
            next = here;
    }
    if (next == NULL)
        return LIBKX_RET_FAIL;
    *cursor = *next;
    return LIBKX_RET_OK;
}

void library_init(struct library *library)
{
    memset(library, 0, sizeof *library);
}
