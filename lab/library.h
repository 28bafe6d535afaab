/* What the gateway's library keeps: limits in the switch, hosts, flows, WAN interfaces; counters, buckets and rules of
 * its own. Freestanding like the model of the module, one record of fixed size; the caller does the locking.
 *
 * Each function does what the one of the same name in libkx.h does (library_create_bucket: libkx_qos_create_bucket).
 */
#ifndef LAB_LIBRARY_H
#define LAB_LIBRARY_H

#include "libkx.h"
#include "text.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    LIBRARY_LIMITS = 128,
    LIBRARY_WANS = 16,
    LIBRARY_WAN_NAME = 16, /* the longest name */
    LIBRARY_RULES = 64,
    LIBRARY_PACKET_SIZE = 1000 /* the bytes of an offered packet */
};

enum library_limit_kind { LIBRARY_NO_LIMIT, LIBRARY_IPV4, LIBRARY_IPV6, LIBRARY_VLAN, LIBRARY_PORT };

/* A limit in the switch. VLANs and ports have their number in both addresses. */
struct library_limit {
    uint32_t kind; /* LIBRARY_NO_LIMIT is a free place */
    uint32_t direction;
    ip_addr_t min;
    ip_addr_t max;
    uint32_t rate;
};

struct library_host {
    uint8_t present;
    uint8_t stats_enabled;
    uint8_t mac[6];
    uint32_t up_limit;
    uint32_t down_limit;
    int32_t bucket;
    int32_t counter;
};

/* Packets are not counted one by one: a count is what was offered altogether since the counter was last zero. */
struct library_counter {
    uint64_t zero; /* the packets offered before */
    uint32_t present;
    uint32_t padding;
};

struct library_bucket {
    uint32_t present;
    uint32_t rate;
};

struct library_wan {
    char name[LIBRARY_WAN_NAME + 4]; /* "" is a free place */
    uint32_t up_limit;
    uint32_t down_limit;
};

struct library {
    uint64_t offered; /* packets up; there are twice as many down */
    uint64_t last_offer;
    struct library_limit limits[LIBRARY_LIMITS];
    struct library_host hosts[LIBKX_HOST_LAST];
    uint64_t flow_zeros[LIBKX_FLOW_LAST + 1][LIBKX_ID_LAST + 1]; /* as library_counter's */
    struct library_wan wans[LIBRARY_WANS];
    struct library_counter counters[KXQOS_COUNTER_LAST];
    struct library_bucket buckets[KXQOS_BUCKET_LAST];
    libkx_qos_rule_s rules[LIBRARY_RULES]; /* in no order; rule_id 0 is a free place */
};

/* The six values of a flow's or host's counter. */
struct library_traffic {
    uint64_t up_packets;
    uint64_t up_bytes;
    uint32_t up_speed;
    uint32_t down_speed;
    uint64_t down_packets;
    uint64_t down_bytes;
};

void library_init(struct library *library);

/* Offers packets, as if within one second. */
void library_offer(struct library *library, uint32_t packets);

/* Installs a limit or removes it; kind, direction and both addresses are its key. */
libkx_retCode_t library_set_limit(struct library *library, const struct library_limit *limit, uint32_t enable);

libkx_retCode_t library_flow_get(const struct library *library, int flow, int counter, struct library_traffic *traffic);
libkx_retCode_t library_flow_clear(struct library *library, int flow, int counter);

libkx_retCode_t library_host_add(struct library *library, int host, const struct library_host *wanted, int *bucket,
                                 int *counter);
libkx_retCode_t library_host_delete(struct library *library, int host, const unsigned char *mac);
libkx_retCode_t library_host_get(const struct library *library, int host, int counter, struct library_traffic *traffic);
libkx_retCode_t library_host_clear(struct library *library, int host, int counter);

libkx_retCode_t library_wan_get(const struct library *library, const char *name, struct library_traffic *traffic);
libkx_retCode_t library_wan_set_limit(struct library *library, const char *name, uint32_t up_limit,
                                      uint32_t down_limit);

libkx_retCode_t library_create_counter(struct library *library, int *counter);
bool library_has_counter(const struct library *library, int counter);
libkx_retCode_t library_get_counter(const struct library *library, int counter, struct library_traffic *traffic);
libkx_retCode_t library_clear_counter(struct library *library, int counter);
libkx_retCode_t library_delete_counter(struct library *library, int counter);

libkx_retCode_t library_create_bucket(struct library *library, int *bucket, uint32_t rate);
bool library_has_bucket(const struct library *library, int bucket);
libkx_retCode_t library_get_bucket(const struct library *library, int bucket, uint32_t *rate);
libkx_retCode_t library_set_bucket(struct library *library, int bucket, uint32_t rate);
libkx_retCode_t library_delete_bucket(struct library *library, int bucket);

libkx_retCode_t library_add_rule(struct library *library, const libkx_qos_rule_s *rule);
libkx_retCode_t library_get_rule(const struct library *library, libkx_qos_rule_s *rule);
libkx_retCode_t library_delete_rule(struct library *library, unsigned profile, unsigned rule);
libkx_retCode_t library_next_rule(const struct library *library, libkx_qos_rule_s *cursor);

#ifdef __cplusplus
}
#endif

#endif
