/* The contract with the QoS kernel module: requests on /dev/kxqos, numbers and wire records.
 *
 * Every request is one ioctl whose argument points at the payload named beside it. Records have natural alignment and
 * no packing; integers are in the host's own byte order (little-endian on the gateway) unless a field says otherwise.
 * The caller owns every record; the module keeps no pointer. Unused bytes and padding are sent as zero, but for what is
 * left of an IPv6 address when the same rule then gives an IPv4 one.
 *
 * Plain C, for C11 and C++20, in user space and in the kernel.
 */
#ifndef KXQOS_H
#define KXQOS_H

#ifdef __KERNEL__
#include <linux/build_bug.h>
#include <linux/in6.h>
#include <linux/stddef.h>
#include <linux/types.h>
#else
#include <assert.h>
#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#endif

#define KXQOS_DEVICE "/dev/kxqos"

/* Requests */

/* Every request is encoded as _IOW('X', nr, 8): the size field is 8 and the direction a write, whatever the payload and
 * whichever way the data goes. */
#define KXQOS_REQUEST_BASE 0x40085800U
#define KXQOS_REQUEST(nr) (KXQOS_REQUEST_BASE + (nr))

/* Every request: its name after KXQOS_, its number, its payload, and what becomes of that. */
#define KXQOS_REQUESTS(X) \
    X(DEBUG_SET, 1, uint32_t)                    /* flags, to the module */ \
    X(DEBUG_GET, 2, uint32_t)                    /* flags, module fills */ \
    X(DEBUG_SHOW, 3, uint32_t)                   /* 0; the module reports to its own log */ \
    X(BUCKET_SET, 8, kxqos_rate_bucket_t)        /* to the module */ \
    X(BUCKET_DELETE, 9, kxqos_rate_bucket_t)     /* to the module */ \
    X(BUCKET_GET, 10, kxqos_rate_bucket_t)       /* module fills */ \
    X(BUCKET_NEXT, 11, kxqos_rate_bucket_t)      /* cursor in, next one out; bucketID 0 at the end */ \
    X(BUCKET_SHOW, 12, kxqos_rate_bucket_t)      /* not read; the module reports to its own log */ \
    X(RULE_ADD, 13, kxqos_rule_t)                /* to the module; replaces a rule of the same ids */ \
    X(RULE_DELETE, 14, kxqos_rule_t)             /* only the ids count */ \
    X(RULE_RESET, 15, kxqos_rule_t)              /* only table_id counts */ \
    X(RULE_GET, 16, kxqos_rule_t)                /* module fills */ \
    X(RULE_NEXT, 17, kxqos_rule_t)               /* cursor in, next one out; rule_id 0 at the end */ \
    X(RATE_LIMIT_SET, 19, kxqos_rl_ioctl_t)      /* to the module */ \
    X(RATE_LIMIT_GET, 20, kxqos_rl_ioctl_t)      /* module fills */ \
    X(COUNTER_DISABLE, 22, kxqos_counter_info_s) /* only counterID counts */ \
    X(COUNTER_ENABLE, 25, kxqos_counter_info_s)  /* only counterID counts */ \
    X(COUNTER_GET, 26, kxqos_counter_info_s)     /* module fills */ \
    X(COUNTER_CLEAR, 27, kxqos_counter_info_s)   /* only counterID counts */ \
    X(STATE_SET, 28, uint32_t)                   /* 1 enables the QoS engine */ \
    X(STATE_GET, 29, uint32_t)                   /* module fills; non-zero is enabled */ \
    X(QUEUE_MAP_GET, 31, kxqos_queue_map_t)      /* module fills */ \
    X(PURE_DSCP_SET, 32, uint32_t)               /* 1 enables pure DSCP remarking */ \
    X(PURE_DSCP_GET, 33, uint32_t)               /* module fills */ \
    X(FINE_CLASSIFY_SET, 34, uint32_t)           /* 1 enables fine classification */ \
    X(FINE_CLASSIFY_GET, 35, uint32_t)           /* module fills */ \
    X(REFRESH_SET, 36, uint32_t)                 /* inverted on purpose: 1 suppresses the forwarding-table refresh */ \
    /* the numbers between and up to 255 are free */

enum kxqos_request {
#define KXQOS_NUMBER(name, number, payload) KXQOS_##name = (number),
    KXQOS_REQUESTS(KXQOS_NUMBER)
#undef KXQOS_NUMBER
};

/* Numbers */

/* The match fields: the name after KXQOS_MATCH_, the index into fieldSel, fieldMode and fieldInverse (field n is bit
 * 1 << (n % 8) of byte n / 8), and the keyword in commands. */
#define KXQOS_MATCHES(X) \
    X(DMAC, 0, "dmac") \
    X(SMAC, 1, "smac") \
    X(ETHERTYPE, 2, "ethertype") \
    X(TPID, 3, "tpid") \
    X(VID, 4, "vid") \
    X(PRI, 5, "pri") \
    X(INNERVID, 6, "ivid") \
    X(INNERPRI, 7, "ipri") \
    X(DIPV4, 8, "dip") \
    X(SIPV4, 9, "sip") \
    X(DIPV6, 10, "dip6") \
    X(SIPV6, 11, "sip6") \
    X(TOS, 12, "tos") \
    X(DSCP, 13, "dscp") \
    X(PRE, 14, "pre") \
    X(FL, 15, "fl") \
    X(TC, 16, "tc") \
    X(IPPROTO, 17, "protocol") \
    X(L4SRCPORT, 18, "sport") \
    X(L4DSTPORT, 19, "dport") \
    X(RXPORT, 20, "rxports") \
    X(TXPORT, 21, "txports") \
    X(INDEV, 22, "indev") \
    X(OUTDEV, 23, "outdev") \
    X(WANDEV, 24, "wan") \
    /* The egress fields share their storage with the ingress field of the same kind; the last one written wins. */ \
    X(EGR_DMAC, 25, "edmac") \
    X(EGR_SIPV4, 26, "esip") \
    X(EGR_SIPV6, 27, "esip6") \
    X(EGR_L4SRCPORT, 28, "esport") \
    X(IPPROTO_BITS, 29, "protocols") /* shares ipProtocol with IPPROTO */ \
    /* 30 and 31 are free */

enum kxqos_match {
#define KXQOS_NUMBER(name, number, word) KXQOS_MATCH_##name = (number),
    KXQOS_MATCHES(KXQOS_NUMBER) KXQOS_MATCH_MAX
#undef KXQOS_NUMBER
};

#define KXQOS_PLUS_FIELD(name, number, word) +1 /* NOLINT(bugprone-macro-parentheses) */
static_assert(KXQOS_MATCH_MAX == 0 KXQOS_MATCHES(KXQOS_PLUS_FIELD), "KXQOS_MATCHES has a gap");
#undef KXQOS_PLUS_FIELD

/* Protocol bits of KXQOS_MATCH_IPPROTO_BITS. */
enum kxqos_ipproto_bit {
    KXQOS_IPPROTO_BIT_ICMP = 0x01,
    KXQOS_IPPROTO_BIT_TCP = 0x02,
    KXQOS_IPPROTO_BIT_UDP = 0x04,
    KXQOS_IPPROTO_BIT_ICMPV6 = 0x08
};

/* Actions: bit n of actionFlag is action n. */
enum kxqos_action {
    KXQOS_ACTION_ASSIGN_QUEUE = 0,
    KXQOS_ACTION_RATE_LIMIT = 1,
    KXQOS_ACTION_CHG_PRI = 2,
    KXQOS_ACTION_CHG_DSCP = 3,
    KXQOS_ACTION_ASSIGN_COUNTER = 4,
    KXQOS_ACTION_SKB_DBG_ON = 5,
    KXQOS_ACTION_KXNAT_BYPASS = 6,
    KXQOS_ACTION_FINE_CLASSIFY = 7,     /* the module's own; no command sets it */
    KXQOS_ACTION_REMARK_FORCE_DSCP = 8, /* the module's own; no command sets it */
    KXQOS_ACTION_FROCE_SW_FWD = 9,      /* spelt so in the record's own vocabulary */
    KXQOS_ACTION_MAX = 10
};

/* The profiles, in the order of table_id: the name after KXQOS_PROFILE_, the name in commands, and the highest rule
 * number. */
#define KXQOS_PROFILES(X) \
    X(QOS, "qos", 64) \
    X(OSGIFLOW, "osgiflow", 512) \
    X(LANHOST, "lanhost", 512) \
    X(BRDATA, "bridgedata", 64) \
    X(HARDACC, "hardacc", 64)

enum kxqos_profile {
#define KXQOS_NUMBER(name, word, rules) KXQOS_PROFILE_##name,
    KXQOS_PROFILES(KXQOS_NUMBER) KXQOS_PROFILE_MAX
#undef KXQOS_NUMBER
};

/* For KXQOS_PROFILES: the highest rule numbers as the rows of an array, or added up. */
#define KXQOS_HIGHEST_RULE(name, word, rules) (rules),
#define KXQOS_PLUS_RULES(name, word, rules) +(rules) /* NOLINT(bugprone-macro-parentheses) */

enum { KXQOS_ALL_RULES = 0 KXQOS_PROFILES(KXQOS_PLUS_RULES) /* of all profiles together */ };

/* Debug categories: the bits of the debug flags word. */
enum kxqos_debug {
    KXQOS_DEBUG_INFO = 0x001,
    KXQOS_DEBUG_WARNING = 0x002,
    KXQOS_DEBUG_ERROR = 0x004,
    KXQOS_DEBUG_PACKET = 0x008,
    KXQOS_DEBUG_PRE_MATCH = 0x010,
    KXQOS_DEBUG_MATCH = 0x020,
    KXQOS_DEBUG_ACTION = 0x040,
    KXQOS_DEBUG_FINE_CLASSIFY = 0x080,
    KXQOS_DEBUG_RATE_LIMIT = 0x100,
    KXQOS_DEBUG_ALL = 0x1FF
};

/* Which table of a rate-limit database the switch enforces. */
enum kxqos_rate_limit_mode {
    RATELIMIT_MODE_DISABLE = 0,
    RATELIMIT_MODE_IP = 1,
    RATELIMIT_MODE_VLAN = 2,
    RATELIMIT_MODE_PORT = 3,
    RATELIMIT_MODE_MAX = 4
};

enum kxqos_limit {
    KXQOS_DEVICE_NAME_SIZE = 16, /* an interface name and its terminator */
    KXQOS_BUCKET_LAST = 64,      /* buckets are numbered from 1 */
    KXQOS_COUNTER_LAST = 222,    /* counters are numbered from 1 */
    KXQOS_RATE_LAST = 10485760,  /* the highest rate of a bucket, in kbps */
    KXQOS_RATE_UNITS = 128,      /* of rateLimit, in a kbps */
    KXQOS_ID_LAST = 65535,       /* ids have 16 bits, so no table holds more entries than this */
    KXQOS_PRIORITIES = 8,
    KXQOS_RL_IP_ENTRIES = 24,
    KXQOS_RL_VLAN_ENTRIES = 16,
    KXQOS_RL_PORT_ENTRIES = 16
};

/* Wire records */

/* An IPv4 or an IPv6 address. For IPv4 the twelve bytes after it stay as they were. */
typedef union ip_addr_u {
    uint32_t ipv4Addr;        /* host byte order, the first dotted octet most significant */
    struct in6_addr ipv6Addr; /* network byte order */
} ip_addr_t;

/* The values of the match fields, or their masks or range ends. */
typedef struct kxqos_entry_s {
    uint8_t dstMac[6]; /* wire order */
    uint8_t srcMac[6];
    uint16_t etherType;
    uint16_t tpid;
    uint16_t vlanID;
    uint16_t innerVlanID;
    uint8_t vlanPri;
    uint8_t innerVlanPri;
    ip_addr_t srcIP;
    ip_addr_t dstIP;
    uint8_t tos;
    uint8_t dscp;
    uint8_t pre;
    uint8_t ipProtocol; /* a protocol number, or KXQOS_IPPROTO_BIT_* */
    uint32_t flowlabel;
    uint8_t tc;
    uint16_t srcPort;
    uint16_t dstPort;
} kxqos_entry_t;

typedef struct kxqos_action_s {
    uint8_t newPri;
    uint8_t newDscp;
    uint16_t queue;
    uint16_t rateBucket;
    uint16_t counterID;
    uint32_t actionFlag; /* bit n is KXQOS_ACTION_* n; a parameter counts only with its bit */
} kxqos_action_t;

typedef struct kxqos_rule_s {
    uint16_t table_id; /* KXQOS_PROFILE_* */
    uint16_t rule_id;  /* from 1 within its profile */
    kxqos_entry_t field;
    kxqos_entry_t mask;
    uint32_t rxPortBits;
    uint32_t txPortBits;
    char inDev[KXQOS_DEVICE_NAME_SIZE]; /* NUL-terminated when sent; not to be trusted when read back */
    char outDev[KXQOS_DEVICE_NAME_SIZE];
    char wanDev[KXQOS_DEVICE_NAME_SIZE];
    uint8_t fieldInverse[4]; /* the field is negated */
    uint8_t fieldMode[4];    /* set: field..mask is an inclusive range; clear: value and bit mask */
    uint8_t fieldSel[4];     /* the field is in use */
    kxqos_action_t action;
    uint64_t counter; /* hits, filled by the module; sent as 0 */
} kxqos_rule_t;

typedef struct kxqos_rate_bucket_s {
    uint16_t bucketID;   /* 1 to KXQOS_BUCKET_LAST; 0 starts and ends a walk */
    uint16_t hwBucketID; /* filled by the module */
    uint32_t rateLimit;  /* kbps * KXQOS_RATE_UNITS; 0 means no limit */
    uint32_t tocken;     /* hardware meter, filled by the module; spelt so in the record's own vocabulary */
} kxqos_rate_bucket_t;

typedef struct kxqos_counter_info_s {
    int32_t counterID; /* 1 to KXQOS_COUNTER_LAST; returned as 0 when no such counter is in use */
    uint64_t bytes;
    uint64_t packets;
    uint64_t speed; /* kbps */
} kxqos_counter_info_s;

/* prio[i] is the queue of 802.1p priority i. */
typedef struct kxqos_queue_map_s {
    uint8_t prio[KXQOS_PRIORITIES];
} kxqos_queue_map_t;

typedef struct kxqos_ip_rl_s {
    uint16_t valid; /* 0 is free, anything else in use */
    uint16_t isIpv6;
    ip_addr_t ip_min;
    ip_addr_t ip_max;
    uint32_t rate; /* kbps */
} kxqos_ip_rl_t;

typedef struct kxqos_vlan_rl_s {
    uint16_t valid;
    uint16_t vid;
    uint32_t rate;
} kxqos_vlan_rl_t;

typedef struct kxqos_port_rl_s {
    uint16_t valid;
    uint16_t port;
    uint32_t rate;
} kxqos_port_rl_t;

/* Hardware meters of the three tables: the module's business, never sent. */
typedef struct kxqos_rl_bucket_s {
    uint32_t ipTocken[KXQOS_RL_IP_ENTRIES];
    uint32_t vlanTocken[KXQOS_RL_VLAN_ENTRIES];
    uint32_t portTocken[KXQOS_RL_PORT_ENTRIES];
} kxqos_rl_bucket_t;

/* The rate-limit database of one direction. The entries in use of a table stand together from entry 0 on. */
typedef struct kxqos_rl_s {
    uint8_t upDir; /* 1 up, 0 down */
    uint8_t mode;  /* RATELIMIT_MODE_* */
    uint8_t reserved[2];
    kxqos_ip_rl_t ipRule[KXQOS_RL_IP_ENTRIES];
    kxqos_vlan_rl_t vlanRule[KXQOS_RL_VLAN_ENTRIES];
    kxqos_port_rl_t portRule[KXQOS_RL_PORT_ENTRIES];
    kxqos_rl_bucket_t bucket;
} kxqos_rl_t;

/* One half of a database, as it crosses to the module and back. */
typedef struct kxqos_rl_ioctl_s {
    uint8_t upDir;
    uint8_t mode;
    uint8_t secondPart; /* 0: the first half of each table; 1: the second */
    uint8_t reserved;
    kxqos_ip_rl_t ipRule[KXQOS_RL_IP_ENTRIES / 2];
    kxqos_vlan_rl_t vlanRule[KXQOS_RL_VLAN_ENTRIES / 2];
    kxqos_port_rl_t portRule[KXQOS_RL_PORT_ENTRIES / 2];
} kxqos_rl_ioctl_t;

/* The layout, pinned byte by byte. */

#ifdef __cplusplus
#include <type_traits>
#define KXQOS_ALIGNOF(type) alignof(type)
#define KXQOS_SIZEOF(type, field) sizeof(type::field)
#define KXQOS_PLAIN(type) (std::is_standard_layout_v<type> && std::is_trivially_copyable_v<type>)
#else
#define KXQOS_ALIGNOF(type) _Alignof(type)
#define KXQOS_SIZEOF(type, field) sizeof(((type *)0)->field)
#define KXQOS_PLAIN(type) 1
#endif
#define KXQOS_RECORD(type, size, alignment) \
    static_assert(sizeof(type) == (size) && KXQOS_ALIGNOF(type) == (alignment) && KXQOS_PLAIN(type), #type);
#define KXQOS_FIELD(type, field, offset, size) \
    static_assert(offsetof(type, field) == (offset) && KXQOS_SIZEOF(type, field) == (size), #type "." #field);

/* Every record that crosses to the module, with its size and alignment, and every field with its offset and size. */
#define KXQOS_RECORDS(RECORD, FIELD) \
    RECORD(ip_addr_t, 16, 4) \
    FIELD(ip_addr_t, ipv4Addr, 0, 4) \
    FIELD(ip_addr_t, ipv6Addr, 0, 16) \
    RECORD(kxqos_entry_t, 72, 4) \
    FIELD(kxqos_entry_t, dstMac, 0, 6) \
    FIELD(kxqos_entry_t, srcMac, 6, 6) \
    FIELD(kxqos_entry_t, etherType, 12, 2) \
    FIELD(kxqos_entry_t, tpid, 14, 2) \
    FIELD(kxqos_entry_t, vlanID, 16, 2) \
    FIELD(kxqos_entry_t, innerVlanID, 18, 2) \
    FIELD(kxqos_entry_t, vlanPri, 20, 1) \
    FIELD(kxqos_entry_t, innerVlanPri, 21, 1) \
    FIELD(kxqos_entry_t, srcIP, 24, 16) \
    FIELD(kxqos_entry_t, dstIP, 40, 16) \
    FIELD(kxqos_entry_t, tos, 56, 1) \
    FIELD(kxqos_entry_t, dscp, 57, 1) \
    FIELD(kxqos_entry_t, pre, 58, 1) \
    FIELD(kxqos_entry_t, ipProtocol, 59, 1) \
    FIELD(kxqos_entry_t, flowlabel, 60, 4) \
    FIELD(kxqos_entry_t, tc, 64, 1) \
    FIELD(kxqos_entry_t, srcPort, 66, 2) \
    FIELD(kxqos_entry_t, dstPort, 68, 2) \
    RECORD(kxqos_action_t, 12, 4) \
    FIELD(kxqos_action_t, newPri, 0, 1) \
    FIELD(kxqos_action_t, newDscp, 1, 1) \
    FIELD(kxqos_action_t, queue, 2, 2) \
    FIELD(kxqos_action_t, rateBucket, 4, 2) \
    FIELD(kxqos_action_t, counterID, 6, 2) \
    FIELD(kxqos_action_t, actionFlag, 8, 4) \
    RECORD(kxqos_rule_t, 240, 8) \
    FIELD(kxqos_rule_t, table_id, 0, 2) \
    FIELD(kxqos_rule_t, rule_id, 2, 2) \
    FIELD(kxqos_rule_t, field, 4, 72) \
    FIELD(kxqos_rule_t, mask, 76, 72) \
    FIELD(kxqos_rule_t, rxPortBits, 148, 4) \
    FIELD(kxqos_rule_t, txPortBits, 152, 4) \
    FIELD(kxqos_rule_t, inDev, 156, 16) \
    FIELD(kxqos_rule_t, outDev, 172, 16) \
    FIELD(kxqos_rule_t, wanDev, 188, 16) \
    FIELD(kxqos_rule_t, fieldInverse, 204, 4) \
    FIELD(kxqos_rule_t, fieldMode, 208, 4) \
    FIELD(kxqos_rule_t, fieldSel, 212, 4) \
    FIELD(kxqos_rule_t, action, 216, 12) \
    FIELD(kxqos_rule_t, counter, 232, 8) \
    RECORD(kxqos_rate_bucket_t, 12, 4) \
    FIELD(kxqos_rate_bucket_t, bucketID, 0, 2) \
    FIELD(kxqos_rate_bucket_t, hwBucketID, 2, 2) \
    FIELD(kxqos_rate_bucket_t, rateLimit, 4, 4) \
    FIELD(kxqos_rate_bucket_t, tocken, 8, 4) \
    RECORD(kxqos_counter_info_s, 32, 8) \
    FIELD(kxqos_counter_info_s, counterID, 0, 4) \
    FIELD(kxqos_counter_info_s, bytes, 8, 8) \
    FIELD(kxqos_counter_info_s, packets, 16, 8) \
    FIELD(kxqos_counter_info_s, speed, 24, 8) \
    RECORD(kxqos_queue_map_t, 8, 1) \
    FIELD(kxqos_queue_map_t, prio, 0, 8) \
    RECORD(kxqos_ip_rl_t, 40, 4) \
    FIELD(kxqos_ip_rl_t, valid, 0, 2) \
    FIELD(kxqos_ip_rl_t, isIpv6, 2, 2) \
    FIELD(kxqos_ip_rl_t, ip_min, 4, 16) \
    FIELD(kxqos_ip_rl_t, ip_max, 20, 16) \
    FIELD(kxqos_ip_rl_t, rate, 36, 4) \
    RECORD(kxqos_vlan_rl_t, 8, 4) \
    FIELD(kxqos_vlan_rl_t, valid, 0, 2) \
    FIELD(kxqos_vlan_rl_t, vid, 2, 2) \
    FIELD(kxqos_vlan_rl_t, rate, 4, 4) \
    RECORD(kxqos_port_rl_t, 8, 4) \
    FIELD(kxqos_port_rl_t, valid, 0, 2) \
    FIELD(kxqos_port_rl_t, port, 2, 2) \
    FIELD(kxqos_port_rl_t, rate, 4, 4) \
    RECORD(kxqos_rl_ioctl_t, 612, 4) \
    FIELD(kxqos_rl_ioctl_t, upDir, 0, 1) \
    FIELD(kxqos_rl_ioctl_t, mode, 1, 1) \
    FIELD(kxqos_rl_ioctl_t, secondPart, 2, 1) \
    FIELD(kxqos_rl_ioctl_t, reserved, 3, 1) \
    FIELD(kxqos_rl_ioctl_t, ipRule, 4, 480) \
    FIELD(kxqos_rl_ioctl_t, vlanRule, 484, 64) \
    FIELD(kxqos_rl_ioctl_t, portRule, 548, 64)

/* Those that never leave the tool. */
#define KXQOS_LOCAL_RECORDS(RECORD, FIELD) \
    RECORD(kxqos_rl_bucket_t, 224, 4) \
    FIELD(kxqos_rl_bucket_t, ipTocken, 0, 96) \
    FIELD(kxqos_rl_bucket_t, vlanTocken, 96, 64) \
    FIELD(kxqos_rl_bucket_t, portTocken, 160, 64) \
    RECORD(kxqos_rl_t, 1444, 4) \
    FIELD(kxqos_rl_t, upDir, 0, 1) \
    FIELD(kxqos_rl_t, mode, 1, 1) \
    FIELD(kxqos_rl_t, reserved, 2, 2) \
    FIELD(kxqos_rl_t, ipRule, 4, 960) \
    FIELD(kxqos_rl_t, vlanRule, 964, 128) \
    FIELD(kxqos_rl_t, portRule, 1092, 128) \
    FIELD(kxqos_rl_t, bucket, 1220, 224)

KXQOS_RECORDS(KXQOS_RECORD, KXQOS_FIELD)
KXQOS_LOCAL_RECORDS(KXQOS_RECORD, KXQOS_FIELD)

#endif
