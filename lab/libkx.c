/* libkx.so, the stand-in for the gateway's closed library. Outside the lab every function fails and touches nothing;
 * inside, each call is an event of the lab, carried out on what library.h keeps in the state file. */
#include "libkx.h"

#include "event.h"

#include <arpa/inet.h>
#include <errno.h>
#include <stdio.h>

#define PRINTS "KXQOS_LAB_LIBKX_PRINTS"

struct call {
    struct event event;
    int before;            /* errno */
    struct library *state; /* to be changed; in force when the call ends */
    const struct gateway_fault *fault;
    libkx_retCode_t result;
};

/* False outside the lab, and in one whose state cannot be used. */
static bool begin(struct call *call, const char *function)
{
    if (lab_variable(PRINTS) != NULL)
        printf("libkx: %s\n", function);
    call->before = errno;
    if (!event_begin(&call->event))
        return false;
    call->state = store_begin(&call->event.store, STORE_LIBRARY);
    if (call->state == NULL) {
        event_end(&call->event);
        return false;
    }
    call->fault = gateway_call(call->event.session, function, &call->event.line);
    call->result = LIBKX_RET_FAIL;
    return true;
}

/* False when a fault lets the call fail before the library does anything. */
static bool works(const struct call *call)
{
    return call->fault == NULL || !call->fault->fails;
}

static int end(struct call *call, int result)
{
    const struct gateway_fault *fault = call->fault;

    if (fault != NULL && (fault->value_count != 0 || fault->has_bytes))
        result = LIBKX_RET_OK;
    if (fault != NULL && fault->has_result)
        result = fault->result;
    if (!store_commit(&call->event.store, STORE_LIBRARY))
        result = LIBKX_RET_FAIL;
    gateway_call_result(result, &call->event.line);
    event_end(&call->event);
    errno = fault != NULL && fault->error != 0 ? fault->error : call->before;
    return result;
}

static libkx_retCode_t finish(struct call *call)
{
    return (libkx_retCode_t)end(call, (int)call->result);
}

/* Arguments for the trace */

static void add_words(struct call *call, const char *words)
{
    text_char(&call->event.line.text, ' ');
    text_words(&call->event.line.text, words);
}

static void add_number(struct call *call, int64_t number)
{
    text_char(&call->event.line.text, ' ');
    text_signed(&call->event.line.text, number);
}

static void add_ipv4(struct call *call, uint32_t address)
{
    const struct in_addr network = {htonl(address)};
    char text[INET_ADDRSTRLEN];

    add_words(call, inet_ntop(AF_INET, &network, text, sizeof text));
}

static void add_ipv6(struct call *call, const struct in6_addr *address)
{
    char text[INET6_ADDRSTRLEN];

    add_words(call, inet_ntop(AF_INET6, address, text, sizeof text));
}

static void add_mac(struct call *call, const unsigned char *mac)
{
    for (int i = 0; i < 6; i++) {
        text_char(&call->event.line.text, i == 0 ? ' ' : ':');
        text_bytes(&call->event.line.text, &mac[i], 1);
    }
}

static void add_rule(struct call *call, const libkx_qos_rule_s *rule)
{
    text_char(&call->event.line.text, ' ');
    text_bytes(&call->event.line.text, rule, sizeof *rule);
}

/* Outputs, which a fault may replace; n counts from 0 */

static bool replaces(const struct call *call, unsigned n)
{
    return call->fault != NULL && n < call->fault->value_count;
}

static void replace_int(const struct call *call, unsigned n, int *output)
{
    if (replaces(call, n))
        *output = (int)call->fault->values[n];
}

static void replace_u32(const struct call *call, unsigned n, uint32_t *output)
{
    if (replaces(call, n))
        *output = (uint32_t)call->fault->values[n];
}

static void replace_u64(const struct call *call, unsigned n, uint64_t *output)
{
    if (replaces(call, n))
        *output = call->fault->values[n];
}

static void replace_rule(const struct call *call, libkx_qos_rule_s *rule)
{
    if (call->fault != NULL && call->fault->has_bytes)
        gateway_overwrite(call->fault, rule, sizeof *rule);
}

/* Switch rate limits */

static void set_limit(struct call *call, const struct library_limit *limit, uint32_t enable)
{
    add_number(call, limit->direction);
    add_number(call, enable);
    add_number(call, limit->rate);
    if (works(call))
        call->result = library_set_limit(call->state, limit, enable);
}

libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t ipMin, uint32_t ipMax, uint32_t direction, uint32_t enable,
                                                 uint32_t rate)
{
    struct library_limit limit = {.kind = LIBRARY_IPV4, .direction = direction, .rate = rate};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    limit.min.ipv4Addr = ipMin;
    limit.max.ipv4Addr = ipMax;
    add_ipv4(&call, ipMin);
    add_ipv4(&call, ipMax);
    set_limit(&call, &limit, enable);
    return finish(&call);
}

libkx_retCode_t libkx_switchApi_ipv6SetRateLimit(struct in6_addr ipMin, struct in6_addr ipMax, uint32_t direction,
                                                 uint32_t enable, uint32_t rate)
{
    struct library_limit limit = {.kind = LIBRARY_IPV6, .direction = direction, .rate = rate};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    limit.min.ipv6Addr = ipMin;
    limit.max.ipv6Addr = ipMax;
    add_ipv6(&call, &ipMin);
    add_ipv6(&call, &ipMax);
    set_limit(&call, &limit, enable);
    return finish(&call);
}

static libkx_retCode_t set_numbered_limit(const char *function, struct library_limit *limit, uint32_t number,
                                          uint32_t enable)
{
    struct call call;

    if (!begin(&call, function))
        return LIBKX_RET_FAIL;
    limit->min.ipv4Addr = number;
    limit->max.ipv4Addr = number;
    add_number(&call, number);
    set_limit(&call, limit, enable);
    return finish(&call);
}

libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t vid, uint32_t direction, uint32_t enable, uint32_t rate)
{
    struct library_limit limit = {.kind = LIBRARY_VLAN, .direction = direction, .rate = rate};

    return set_numbered_limit(__func__, &limit, vid, enable);
}

libkx_retCode_t libkx_switchApi_portSetRateLimit(uint16_t port, uint32_t direction, uint32_t enable, uint32_t rate)
{
    struct library_limit limit = {.kind = LIBRARY_PORT, .direction = direction, .rate = rate};

    return set_numbered_limit(__func__, &limit, port, enable);
}

/* Flows, hosts and WAN interfaces */

static void give(const struct call *call, const struct library_traffic *traffic, uint64_t *upPkts, uint64_t *upBytes,
                 uint32_t *upSpeed, uint64_t *downPkts, uint64_t *downBytes, uint32_t *downSpeed)
{
    if (call->result == LIBKX_RET_OK) {
        *upPkts = traffic->up_packets;
        *upBytes = traffic->up_bytes;
        *upSpeed = traffic->up_speed;
        *downPkts = traffic->down_packets;
        *downBytes = traffic->down_bytes;
        *downSpeed = traffic->down_speed;
    }
    replace_u64(call, 0, upPkts);
    replace_u64(call, 1, upBytes);
    replace_u32(call, 2, upSpeed);
    replace_u64(call, 3, downPkts);
    replace_u64(call, 4, downBytes);
    replace_u32(call, 5, downSpeed);
}

libkx_retCode_t libkx_qos_OSGI_getCounterByFlow(int flow, int counter, uint64_t *upPkts, uint64_t *upBytes,
                                                uint32_t *upSpeed, uint64_t *downPkts, uint64_t *downBytes,
                                                uint32_t *downSpeed)
{
    struct library_traffic traffic = {0};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, flow);
    add_number(&call, counter);
    if (works(&call))
        call.result = library_flow_get(call.state, flow, counter, &traffic);
    give(&call, &traffic, upPkts, upBytes, upSpeed, downPkts, downBytes, downSpeed);
    return finish(&call);
}

libkx_retCode_t libkx_qos_OSGI_clearCounterByFlow(int flow, int counter)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, flow);
    add_number(&call, counter);
    if (works(&call))
        call.result = library_flow_clear(call.state, flow, counter);
    return finish(&call);
}

libkx_retCode_t libkx_qos_hostEntryAdd(int host, const unsigned char *mac, int statsEnable, uint32_t upLimit,
                                       uint32_t downLimit, int *bucket, int *counter)
{
    struct library_host wanted = {.stats_enabled = statsEnable != 0, .up_limit = upLimit, .down_limit = downLimit};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, host);
    add_mac(&call, mac);
    add_number(&call, statsEnable);
    add_number(&call, upLimit);
    add_number(&call, downLimit);
    add_number(&call, *bucket);
    add_number(&call, *counter);
    memcpy(wanted.mac, mac, sizeof wanted.mac);
    if (works(&call))
        call.result = library_host_add(call.state, host, &wanted, bucket, counter);
    replace_int(&call, 0, bucket);
    replace_int(&call, 1, counter);
    return finish(&call);
}

libkx_retCode_t libkx_qos_hostEntryDel(int host, const unsigned char *mac, int *bucket, int *counter)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, host);
    add_mac(&call, mac);
    add_number(&call, *bucket);
    add_number(&call, *counter);
    if (works(&call))
        call.result = library_host_delete(call.state, host, mac);
    replace_int(&call, 0, bucket);
    replace_int(&call, 1, counter);
    return finish(&call);
}

libkx_retCode_t libkx_qos_hostCounterGet(int host, int counter, uint64_t *upPkts, uint64_t *upBytes, uint32_t *upSpeed,
                                         uint64_t *downPkts, uint64_t *downBytes, uint32_t *downSpeed)
{
    struct library_traffic traffic = {0};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, host);
    add_number(&call, counter);
    if (works(&call))
        call.result = library_host_get(call.state, host, counter, &traffic);
    give(&call, &traffic, upPkts, upBytes, upSpeed, downPkts, downBytes, downSpeed);
    return finish(&call);
}

libkx_retCode_t libkx_qos_hostCounterClear(int host, int counter)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, host);
    add_number(&call, counter);
    if (works(&call))
        call.result = library_host_clear(call.state, host, counter);
    return finish(&call);
}

libkx_retCode_t libkx_netApi_getWanStats(const char *ifName, uint64_t *upPkt, uint64_t *upBytes, uint64_t *downPkt,
                                         uint64_t *downBytes)
{
    struct library_traffic traffic = {0};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_words(&call, ifName);
    if (works(&call))
        call.result = library_wan_get(call.state, ifName, &traffic);
    if (call.result == LIBKX_RET_OK) {
        *upPkt = traffic.up_packets;
        *upBytes = traffic.up_bytes;
        *downPkt = traffic.down_packets;
        *downBytes = traffic.down_bytes;
    }
    replace_u64(&call, 0, upPkt);
    replace_u64(&call, 1, upBytes);
    replace_u64(&call, 2, downPkt);
    replace_u64(&call, 3, downBytes);
    return finish(&call);
}

libkx_retCode_t libkx_netApi_setWanRateLimit(const char *ifName, uint32_t upLimit, uint32_t downLimit)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_words(&call, ifName);
    add_number(&call, upLimit);
    add_number(&call, downLimit);
    if (works(&call))
        call.result = library_wan_set_limit(call.state, ifName, upLimit, downLimit);
    return finish(&call);
}

/* Counters */

libkx_retCode_t libkx_qos_create_counter(int *counterID)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, *counterID);
    if (works(&call))
        call.result = library_create_counter(call.state, counterID);
    replace_int(&call, 0, counterID);
    return finish(&call);
}

int libkx_qos_is_counter_created(int counterID)
{
    struct call call;

    if (!begin(&call, __func__))
        return 0;
    add_number(&call, counterID);
    return end(&call, works(&call) ? library_has_counter(call.state, counterID) : LIBKX_RET_FAIL);
}

libkx_retCode_t libkx_qos_get_counter(int counterID, uint64_t *pkts, uint64_t *bytes, uint32_t *speed)
{
    struct library_traffic traffic = {0};
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, counterID);
    if (works(&call))
        call.result = library_get_counter(call.state, counterID, &traffic);
    if (call.result == LIBKX_RET_OK) {
        *pkts = traffic.up_packets;
        *bytes = traffic.up_bytes;
        *speed = traffic.up_speed;
    }
    replace_u64(&call, 0, pkts);
    replace_u64(&call, 1, bytes);
    replace_u32(&call, 2, speed);
    return finish(&call);
}

libkx_retCode_t libkx_qos_clear_counter(int counterID)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, counterID);
    if (works(&call))
        call.result = library_clear_counter(call.state, counterID);
    return finish(&call);
}

libkx_retCode_t libkx_qos_delete_counter(int counterID)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, counterID);
    if (works(&call))
        call.result = library_delete_counter(call.state, counterID);
    return finish(&call);
}

/* Buckets */

libkx_retCode_t libkx_qos_create_bucket(int *bucketID, uint32_t rate)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, *bucketID);
    add_number(&call, rate);
    if (works(&call))
        call.result = library_create_bucket(call.state, bucketID, rate);
    replace_int(&call, 0, bucketID);
    return finish(&call);
}

int libkx_qos_is_bucket_created(int bucketID)
{
    struct call call;

    if (!begin(&call, __func__))
        return 0;
    add_number(&call, bucketID);
    return end(&call, works(&call) ? library_has_bucket(call.state, bucketID) : LIBKX_RET_FAIL);
}

libkx_retCode_t libkx_qos_get_bucket(int bucketID, uint32_t *rate)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, bucketID);
    if (works(&call))
        call.result = library_get_bucket(call.state, bucketID, rate);
    replace_u32(&call, 0, rate);
    return finish(&call);
}

libkx_retCode_t libkx_qos_set_bucket(int bucketID, uint32_t rate)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, bucketID);
    add_number(&call, rate);
    if (works(&call))
        call.result = library_set_bucket(call.state, bucketID, rate);
    return finish(&call);
}

libkx_retCode_t libkx_qos_delete_bucket(int bucketID)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, bucketID);
    if (works(&call))
        call.result = library_delete_bucket(call.state, bucketID);
    return finish(&call);
}

/* Rules */

libkx_retCode_t libkx_qos_add_rule(libkx_qos_rule_s *rule)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_rule(&call, rule);
    if (works(&call))
        call.result = library_add_rule(call.state, rule);
    return finish(&call);
}

libkx_retCode_t libkx_qos_get_rule(libkx_qos_rule_s *rule)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_rule(&call, rule);
    if (works(&call))
        call.result = library_get_rule(call.state, rule);
    replace_rule(&call, rule);
    return finish(&call);
}

libkx_retCode_t libkx_qos_delete_rule(uint16_t profileID, uint16_t ruleID)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_number(&call, profileID);
    add_number(&call, ruleID);
    if (works(&call))
        call.result = library_delete_rule(call.state, profileID, ruleID);
    return finish(&call);
}

libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule)
{
    struct call call;

    if (!begin(&call, __func__))
        return LIBKX_RET_FAIL;
    add_rule(&call, rule);
    if (works(&call))
        call.result = library_next_rule(call.state, rule);
    replace_rule(&call, rule);
    return finish(&call);
}
