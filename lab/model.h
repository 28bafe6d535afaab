/* The model of the QoS kernel module: what each request on /dev/kxqos does to its state.
 *
 * Freestanding C11, for user space and for the kernel: memcpy, memset and memcmp, no allocation, one record of fixed
 * size that holds no pointer, so that it can lie in a file. The caller does the locking.
 */
#ifndef LAB_MODEL_H
#define LAB_MODEL_H

#include "kxqos.h"
#include "text.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    MODEL_RULES = KXQOS_ALL_RULES,
    MODEL_LOG_LINES = 256,
    MODEL_LOG_WIDTH = 128,
    MODEL_PAYLOAD_MAX = sizeof(kxqos_rl_ioctl_t), /* the largest payload of any request */
    MODEL_PACKET_SIZE = 1000                      /* the bytes of an offered packet */
};

struct model_counter {
    uint32_t enabled;
    uint32_t padding;
    uint64_t packets;
    uint64_t last_offer; /* packets of the last offer, whose rate is the counter's speed */
};

struct model {
    kxqos_rule_t rules[MODEL_RULES]; /* profile after profile, each in order of rule id; rule_id 0 is a free place */
    kxqos_rate_bucket_t buckets[KXQOS_BUCKET_LAST]; /* bucketID 0 is a free place */
    struct model_counter counters[KXQOS_COUNTER_LAST];
    kxqos_rl_t limits[2];             /* by upDir, in force */
    kxqos_rl_ioctl_t first_halves[2]; /* by upDir, waiting for their second halves */
    uint32_t has_first_half[2];
    uint32_t debug_flags;
    uint32_t qos_enabled;
    uint32_t pure_dscp_enabled;
    uint32_t fine_classify_enabled;
    uint32_t refresh_suppressed;
    kxqos_queue_map_t queue_map;
    uint32_t log_count; /* lines written since the start; line n is log[n % MODEL_LOG_LINES] */
    char log[MODEL_LOG_LINES][MODEL_LOG_WIDTH];
};

/* The module as it is after loading. */
void model_init(struct model *model);

/* request is the whole number, 0x400858nn. The payload's size, 0 for a request that the module does not know. */
size_t model_payload_size(uint32_t request);

/* True for a request that may change the model. */
bool model_changes(uint32_t request);

/* Carries out a request. Gives 0 or more, or a negative error number; then nothing has changed, the payload neither.
 * The payload is aligned for 8-byte integers and as long as model_payload_size says. */
int model_request(struct model *model, uint32_t request, void *payload);

/* Offers packets to every enabled counter, as if within one second. */
void model_offer(struct model *model, uint32_t packets);

/* The highest rule id of a profile, 0 for a number that is no profile. */
unsigned model_rule_limit(unsigned profile);

/* The place of a rule, which may be free. Null if there can be no such rule. */
const kxqos_rule_t *model_rule(const struct model *model, unsigned profile, unsigned rule);

/* Line n of the kernel log, from 0 for the oldest that is kept. Null after the last. */
const char *model_log_line(const struct model *model, uint32_t n);

#ifdef __cplusplus
}
#endif

#endif
