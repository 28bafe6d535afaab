/* The contract with the gateway's closed library libkx.
 *
 * C linkage; every function returns LIBKX_RET_OK (0) for success and any other libkx_retCode_t for failure, unless it
 * says otherwise. Pointers are the caller's and are not kept. Limits are in kbps. The library may print to the C
 * library's stdout.
 */
#ifndef LIBKX_H
#define LIBKX_H

#include "kxqos.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum libkx_retCode_e {
    LIBKX_RET_OK = 0,
    LIBKX_RET_INVALID_PARAMETER = 1,
    LIBKX_RET_MEM_ALLOCATE_FAIL = 2,
    LIBKX_RET_FILE_OPEN_FAIL = 3,
    LIBKX_RET_FILE_READ_FAIL = 4,
    LIBKX_RET_FILE_WRITE_FAIL = 5,
    LIBKX_RET_FAIL = 6,
    LIBKX_RET_MAX = 7
} libkx_retCode_t;

/* Match fields carry the numbers of KXQOS_MATCH_*, actions those of KXQOS_ACTION_* up to 8. */
enum libkx_qos_match {
#define LIBKX_NUMBER(name, number, word) LIBKX_QOS_MATCH_##name = KXQOS_MATCH_##name,
    KXQOS_MATCHES(LIBKX_NUMBER) LIBKX_QOS_MATCH_MAX
#undef LIBKX_NUMBER
};

enum libkx_qos_action {
    LIBKX_QOS_ACTION_ASSIGN_QUEUE = KXQOS_ACTION_ASSIGN_QUEUE,
    LIBKX_QOS_ACTION_RATE_LIMIT = KXQOS_ACTION_RATE_LIMIT,
    LIBKX_QOS_ACTION_CHG_PRI = KXQOS_ACTION_CHG_PRI,
    LIBKX_QOS_ACTION_CHG_DSCP = KXQOS_ACTION_CHG_DSCP,
    LIBKX_QOS_ACTION_ASSIGN_COUNTER = KXQOS_ACTION_ASSIGN_COUNTER,
    LIBKX_QOS_ACTION_SKB_DBG_ON = KXQOS_ACTION_SKB_DBG_ON,
    LIBKX_QOS_ACTION_KXNAT_BYPASS = KXQOS_ACTION_KXNAT_BYPASS,
    LIBKX_QOS_ACTION_FINE_CLASSIFY = KXQOS_ACTION_FINE_CLASSIFY,
    LIBKX_QOS_ACTION_REMARK_FORCE_DSCP = KXQOS_ACTION_REMARK_FORCE_DSCP,
    LIBKX_QOS_ACTION_MAX = 9 /* no forced software forwarding here */
};

enum libkx_limit {
    LIBKX_FLOW_LAST = 7,   /* flows are numbered from 0 */
    LIBKX_HOST_LAST = 256, /* hosts are numbered from 1 */
    LIBKX_ID_LAST = 256    /* of a flow's or a host's counter or bucket, from 0 */
};

/* The library's rule record: kxqos_rule_t without its counter. */
typedef struct libkx_qos_rule_s {
    uint16_t profile_id; /* KXQOS_PROFILE_* */
    uint16_t rule_id;    /* from 1 within its profile */
    kxqos_entry_t field;
    kxqos_entry_t mask;
    uint32_t rxPortBits;
    uint32_t txPortBits;
    char inDev[KXQOS_DEVICE_NAME_SIZE];
    char outDev[KXQOS_DEVICE_NAME_SIZE];
    char wanDev[KXQOS_DEVICE_NAME_SIZE];
    uint8_t fieldInverse[4];
    uint8_t fieldMode[4];
    uint8_t fieldSel[4];
    kxqos_action_t action;
} libkx_qos_rule_s;

#define LIBKX_RECORDS(RECORD, FIELD) \
    RECORD(libkx_qos_rule_s, 228, 4) \
    FIELD(libkx_qos_rule_s, profile_id, 0, 2) \
    FIELD(libkx_qos_rule_s, rule_id, 2, 2) \
    FIELD(libkx_qos_rule_s, field, 4, 72) \
    FIELD(libkx_qos_rule_s, mask, 76, 72) \
    FIELD(libkx_qos_rule_s, rxPortBits, 148, 4) \
    FIELD(libkx_qos_rule_s, txPortBits, 152, 4) \
    FIELD(libkx_qos_rule_s, inDev, 156, 16) \
    FIELD(libkx_qos_rule_s, outDev, 172, 16) \
    FIELD(libkx_qos_rule_s, wanDev, 188, 16) \
    FIELD(libkx_qos_rule_s, fieldInverse, 204, 4) \
    FIELD(libkx_qos_rule_s, fieldMode, 208, 4) \
    FIELD(libkx_qos_rule_s, fieldSel, 212, 4) \
    FIELD(libkx_qos_rule_s, action, 216, 12)

LIBKX_RECORDS(KXQOS_RECORD, KXQOS_FIELD)

/* Switch rate limits: enable 1 installs a limit, 0 removes it. */

/* Addresses in host byte order. What the directions mean is the library's affair; the tool passes a database's upDir.
 */
libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t ipMin, uint32_t ipMax, uint32_t direction, uint32_t enable,
                                                 uint32_t rate);
/* Addresses in network byte order. */
libkx_retCode_t libkx_switchApi_ipv6SetRateLimit(struct in6_addr ipMin, struct in6_addr ipMax, uint32_t direction,
                                                 uint32_t enable, uint32_t rate);
libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t vid, uint32_t direction, uint32_t enable, uint32_t rate);
/* The tool passes the inverse of a database's upDir here. */
libkx_retCode_t libkx_switchApi_portSetRateLimit(uint16_t port, uint32_t direction, uint32_t enable, uint32_t rate);

/* Flow, host and WAN statistics. */

libkx_retCode_t libkx_qos_OSGI_getCounterByFlow(int flow, int counter, uint64_t *upPkts, uint64_t *upBytes,
                                                uint32_t *upSpeed, uint64_t *downPkts, uint64_t *downBytes,
                                                uint32_t *downSpeed);
libkx_retCode_t libkx_qos_OSGI_clearCounterByFlow(int flow, int counter);
/* May write the numbers that it allocated through bucket and counter. mac: 6 bytes in wire order. */
libkx_retCode_t libkx_qos_hostEntryAdd(int host, const unsigned char *mac, int statsEnable, uint32_t upLimit,
                                       uint32_t downLimit, int *bucket, int *counter);
libkx_retCode_t libkx_qos_hostEntryDel(int host, const unsigned char *mac, int *bucket, int *counter);
libkx_retCode_t libkx_qos_hostCounterGet(int host, int counter, uint64_t *upPkts, uint64_t *upBytes, uint32_t *upSpeed,
                                         uint64_t *downPkts, uint64_t *downBytes, uint32_t *downSpeed);
libkx_retCode_t libkx_qos_hostCounterClear(int host, int counter);
/* ifName: NUL-terminated. */
libkx_retCode_t libkx_netApi_getWanStats(const char *ifName, uint64_t *upPkt, uint64_t *upBytes, uint64_t *downPkt,
                                         uint64_t *downBytes);
libkx_retCode_t libkx_netApi_setWanRateLimit(const char *ifName, uint32_t upLimit, uint32_t downLimit);

/* Counters, buckets and rules of the library's own. */

/* An id of 0 asks for a free number, which is written back; any other asks for that number. */
libkx_retCode_t libkx_qos_create_counter(int *counterID);
/* Non-zero when the counter exists. */
int libkx_qos_is_counter_created(int counterID);
libkx_retCode_t libkx_qos_get_counter(int counterID, uint64_t *pkts, uint64_t *bytes, uint32_t *speed);
libkx_retCode_t libkx_qos_clear_counter(int counterID);
libkx_retCode_t libkx_qos_delete_counter(int counterID);

/* Numbers as for counters. */
libkx_retCode_t libkx_qos_create_bucket(int *bucketID, uint32_t rate);
/* Non-zero when the bucket exists. */
int libkx_qos_is_bucket_created(int bucketID);
libkx_retCode_t libkx_qos_get_bucket(int bucketID, uint32_t *rate);
libkx_retCode_t libkx_qos_set_bucket(int bucketID, uint32_t rate);
libkx_retCode_t libkx_qos_delete_bucket(int bucketID);

libkx_retCode_t libkx_qos_add_rule(libkx_qos_rule_s *rule);
/* Fills the record of the rule that profile_id and rule_id name. */
libkx_retCode_t libkx_qos_get_rule(libkx_qos_rule_s *rule);
libkx_retCode_t libkx_qos_delete_rule(uint16_t profileID, uint16_t ruleID);
/* Replaces the record by the rule after the one it names; an all-zero record starts. Non-zero when there is none. */
libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule);

#ifdef __cplusplus
}
#endif

#endif
