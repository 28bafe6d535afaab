#include "model.h"

#ifdef __KERNEL__
#include <linux/errno.h>
#else
#include <errno.h>
#endif

enum { rate_step_kbps = 64 };

/* The kernel log */

static struct text log_line(struct model *model)
{
    struct text text = text_in(model->log[model->log_count % MODEL_LOG_LINES], MODEL_LOG_WIDTH);

    model->log_count++;
    text_words(&text, "kxqos: ");
    return text;
}

const char *model_log_line(const struct model *model, uint32_t n)
{
    uint32_t kept = model->log_count < MODEL_LOG_LINES ? model->log_count : MODEL_LOG_LINES;

    if (n >= kept)
        return NULL;
    return model->log[(model->log_count - kept + n) % MODEL_LOG_LINES];
}

/* Debug flags: all 32 bits are kept, those without a meaning too. */

static int debug_set(struct model *model, void *payload)
{
    memcpy(&model->debug_flags, payload, sizeof model->debug_flags);
    return 0;
}

static int debug_get(struct model *model, void *payload)
{
    memcpy(payload, &model->debug_flags, sizeof model->debug_flags);
    return 0;
}

static int debug_show(struct model *model, void *payload)
{
    static const char names[][16] = {"info",  "warning", "error",         "packet",    "pre-match",
                                     "match", "action",  "fine-classify", "rate-limit"};
    struct text text = log_line(model);

    (void)payload;
    text_words(&text, "debug flags 0x");
    text_hex(&text, model->debug_flags, 8);
    for (unsigned bit = 0; bit < sizeof names / sizeof names[0]; bit++) {
        if ((model->debug_flags >> bit & 1) != 0) {
            text_char(&text, ' ');
            text_words(&text, names[bit]);
        }
    }
    return 0;
}

/* Buckets */

/* The cursor of a walk may be any number, a bucket's own number only one that it has. */
static kxqos_rate_bucket_t *bucket_of(struct model *model, unsigned number)
{
    return number >= 1 && number <= KXQOS_BUCKET_LAST ? &model->buckets[number - 1] : NULL;
}

static int bucket_set(struct model *model, void *payload)
{
    const kxqos_rate_bucket_t *asked = payload;
    kxqos_rate_bucket_t *bucket = bucket_of(model, asked->bucketID);
    const uint32_t step = rate_step_kbps * KXQOS_RATE_UNITS;

    if (bucket == NULL || asked->rateLimit > (uint32_t)KXQOS_RATE_LAST * KXQOS_RATE_UNITS)
        return -EINVAL;
    bucket->bucketID = asked->bucketID;
    bucket->hwBucketID = (uint16_t)(100 + asked->bucketID);
    bucket->tocken = 1000U + asked->bucketID;
    bucket->rateLimit = (asked->rateLimit + step - 1) / step * step;
    return 0;
}

static int bucket_delete(struct model *model, void *payload)
{
    const kxqos_rate_bucket_t *asked = payload;
    kxqos_rate_bucket_t *bucket = bucket_of(model, asked->bucketID);

    if (bucket == NULL)
        return -EINVAL;
    if (bucket->bucketID == 0)
        return -ENOENT;
    memset(bucket, 0, sizeof *bucket);
    return 0;
}

static int bucket_get(struct model *model, void *payload)
{
    kxqos_rate_bucket_t *asked = payload;
    const kxqos_rate_bucket_t *bucket = bucket_of(model, asked->bucketID);

    if (bucket == NULL)
        return -EINVAL;
    if (bucket->bucketID == 0)
        return -ENOENT;
    *asked = *bucket;
    return 0;
}

static int bucket_next(struct model *model, void *payload)
{
    kxqos_rate_bucket_t *cursor = payload;
    unsigned number = cursor->bucketID;

    memset(cursor, 0, sizeof *cursor);
    for (; number < KXQOS_BUCKET_LAST; number++) {
        if (model->buckets[number].bucketID != 0) {
            *cursor = model->buckets[number];
            break;
        }
    }
    return 0;
}

static void log_bucket(struct model *model, const kxqos_rate_bucket_t *bucket)
{
    struct text text = log_line(model);

    text_words(&text, "bucket ");
    text_number(&text, bucket->bucketID);
    text_words(&text, ": rate ");
    text_number(&text, bucket->rateLimit / KXQOS_RATE_UNITS);
    text_words(&text, " kbps, hwBucketID ");
    text_number(&text, bucket->hwBucketID);
    text_words(&text, ", tocken ");
    text_number(&text, bucket->tocken);
}

static int bucket_show(struct model *model, void *payload)
{
    unsigned shown = 0;

    (void)payload;
    for (unsigned i = 0; i < KXQOS_BUCKET_LAST; i++) {
        if (model->buckets[i].bucketID != 0) {
            log_bucket(model, &model->buckets[i]);
            shown++;
        }
    }
    if (shown == 0) {
        struct text text = log_line(model);
        text_words(&text, "no bucket is configured");
    }
    return 0;
}

/* Rules */

static const uint16_t rule_limits[KXQOS_PROFILE_MAX] = {KXQOS_PROFILES(KXQOS_HIGHEST_RULE)};

unsigned model_rule_limit(unsigned profile)
{
    return profile < KXQOS_PROFILE_MAX ? rule_limits[profile] : 0;
}

/* The index of a profile's first rule. */
static unsigned first_rule(unsigned profile)
{
    unsigned first = 0;

    for (unsigned i = 0; i < profile; i++)
        first += rule_limits[i];
    return first;
}

const kxqos_rule_t *model_rule(const struct model *model, unsigned profile, unsigned rule)
{
    if (rule < 1 || rule > model_rule_limit(profile))
        return NULL;
    return &model->rules[first_rule(profile) + rule - 1];
}

static kxqos_rule_t *rule_of(struct model *model, const kxqos_rule_t *asked)
{
    if (model_rule(model, asked->table_id, asked->rule_id) == NULL)
        return NULL;
    return &model->rules[first_rule(asked->table_id) + asked->rule_id - 1];
}

static int rule_add(struct model *model, void *payload)
{
    const kxqos_rule_t *asked = payload;
    kxqos_rule_t *rule = rule_of(model, asked);

    if (rule == NULL)
        return -EINVAL;
    *rule = *asked;
    rule->counter = 0;
    return 0;
}

static int rule_delete(struct model *model, void *payload)
{
    kxqos_rule_t *rule = rule_of(model, payload);

    if (rule == NULL)
        return -EINVAL;
    if (rule->rule_id == 0)
        return -ENOENT;
    memset(rule, 0, sizeof *rule);
    return 0;
}

static int rule_reset(struct model *model, void *payload)
{
    const kxqos_rule_t *asked = payload;
    const unsigned limit = model_rule_limit(asked->table_id);

    if (limit == 0)
        return -EINVAL;
    memset(&model->rules[first_rule(asked->table_id)], 0, limit * sizeof(kxqos_rule_t));
    return 0;
}

static int rule_get(struct model *model, void *payload)
{
    const kxqos_rule_t *rule = rule_of(model, payload);

    if (rule == NULL)
        return -EINVAL;
    if (rule->rule_id == 0)
        return -ENOENT;
    memcpy(payload, rule, sizeof *rule);
    return 0;
}

static int rule_next(struct model *model, void *payload)
{
    kxqos_rule_t *cursor = payload;
    const uint16_t profile = cursor->table_id;
    unsigned place = cursor->rule_id; /* the place after the cursor's rule, as ids begin with 1 */

    if (model_rule_limit(profile) == 0)
        return -EINVAL;
    memset(cursor, 0, sizeof *cursor);
    cursor->table_id = profile;
    for (; place < model_rule_limit(profile); place++) {
        const kxqos_rule_t *rule = &model->rules[first_rule(profile) + place];
        if (rule->rule_id != 0) {
            *cursor = *rule;
            break;
        }
    }
    return 0;
}

/* Rate limits */

/* Puts the first (0) or second (1) half of the tables of a database in place. */
static void apply_half(kxqos_rl_t *limits, const kxqos_rl_ioctl_t *half, unsigned second)
{
    memcpy(&limits->ipRule[second * KXQOS_RL_IP_ENTRIES / 2], half->ipRule, sizeof half->ipRule);
    memcpy(&limits->vlanRule[second * KXQOS_RL_VLAN_ENTRIES / 2], half->vlanRule, sizeof half->vlanRule);
    memcpy(&limits->portRule[second * KXQOS_RL_PORT_ENTRIES / 2], half->portRule, sizeof half->portRule);
}

/* A first half is kept after its second half came: of two transfers that overlap, the later one then wins whole. */
static int rate_limit_set(struct model *model, void *payload)
{
    const kxqos_rl_ioctl_t *half = payload;
    kxqos_rl_t *limits;

    if (half->upDir > 1 || half->mode >= RATELIMIT_MODE_MAX || half->secondPart > 1)
        return -EINVAL;
    if (half->secondPart == 0) {
        model->first_halves[half->upDir] = *half;
        model->has_first_half[half->upDir] = 1;
        return 0;
    }
    if (model->has_first_half[half->upDir] == 0)
        return -EINVAL;
    limits = &model->limits[half->upDir];
    limits->mode = half->mode;
    apply_half(limits, &model->first_halves[half->upDir], 0);
    apply_half(limits, half, 1);
    return 0;
}

static int rate_limit_get(struct model *model, void *payload)
{
    kxqos_rl_ioctl_t *half = payload;
    const unsigned second = half->secondPart;
    const kxqos_rl_t *limits;

    if (half->upDir > 1 || second > 1)
        return -EINVAL;
    limits = &model->limits[half->upDir];
    half->mode = limits->mode;
    half->reserved = 0;
    memcpy(half->ipRule, &limits->ipRule[second * KXQOS_RL_IP_ENTRIES / 2], sizeof half->ipRule);
    memcpy(half->vlanRule, &limits->vlanRule[second * KXQOS_RL_VLAN_ENTRIES / 2], sizeof half->vlanRule);
    memcpy(half->portRule, &limits->portRule[second * KXQOS_RL_PORT_ENTRIES / 2], sizeof half->portRule);
    return 0;
}

/* Counters */

static struct model_counter *counter_of(struct model *model, const void *payload)
{
    const kxqos_counter_info_s *asked = payload;

    if (asked->counterID < 1 || asked->counterID > KXQOS_COUNTER_LAST)
        return NULL;
    return &model->counters[asked->counterID - 1];
}

static int counter_enable(struct model *model, void *payload)
{
    struct model_counter *counter = counter_of(model, payload);

    if (counter == NULL)
        return -EINVAL;
    counter->enabled = 1;
    return 0;
}

static int counter_disable(struct model *model, void *payload)
{
    struct model_counter *counter = counter_of(model, payload);

    if (counter == NULL)
        return -EINVAL;
    counter->enabled = 0;
    return 0;
}

static int counter_clear(struct model *model, void *payload)
{
    struct model_counter *counter = counter_of(model, payload);

    if (counter == NULL)
        return -EINVAL;
    counter->packets = 0;
    counter->last_offer = 0;
    return 0;
}

/* A counter that is not in use is no error: its record comes back with the number 0. */
static int counter_get(struct model *model, void *payload)
{
    const struct model_counter *counter = counter_of(model, payload);
    kxqos_counter_info_s info;

    if (counter == NULL)
        return -EINVAL;
    memset(&info, 0, sizeof info);
    if (counter->enabled != 0) {
        info.counterID = ((const kxqos_counter_info_s *)payload)->counterID;
        info.packets = counter->packets;
        info.bytes = counter->packets * MODEL_PACKET_SIZE;
        info.speed = counter->last_offer * MODEL_PACKET_SIZE * 8 / 1000;
    }
    memcpy(payload, &info, sizeof info);
    return 0;
}

void model_offer(struct model *model, uint32_t packets)
{
    for (unsigned i = 0; i < KXQOS_COUNTER_LAST; i++) {
        if (model->counters[i].enabled != 0) {
            model->counters[i].packets += packets;
            model->counters[i].last_offer = packets;
        }
    }
}

/* Switches */

static int set_switch(uint32_t *state, const void *payload)
{
    uint32_t word;

    memcpy(&word, payload, sizeof word);
    if (word > 1)
        return -EINVAL;
    *state = word;
    return 0;
}

static int get_switch(const uint32_t *state, void *payload)
{
    memcpy(payload, state, sizeof *state);
    return 0;
}

static int state_set(struct model *model, void *payload)
{
    return set_switch(&model->qos_enabled, payload);
}

static int state_get(struct model *model, void *payload)
{
    return get_switch(&model->qos_enabled, payload);
}

static int pure_dscp_set(struct model *model, void *payload)
{
    return set_switch(&model->pure_dscp_enabled, payload);
}

static int pure_dscp_get(struct model *model, void *payload)
{
    return get_switch(&model->pure_dscp_enabled, payload);
}

static int fine_classify_set(struct model *model, void *payload)
{
    return set_switch(&model->fine_classify_enabled, payload);
}

static int fine_classify_get(struct model *model, void *payload)
{
    return get_switch(&model->fine_classify_enabled, payload);
}

static int refresh_set(struct model *model, void *payload)
{
    return set_switch(&model->refresh_suppressed, payload);
}

static int queue_map_get(struct model *model, void *payload)
{
    memcpy(payload, &model->queue_map, sizeof model->queue_map);
    return 0;
}

/* The requests */

static const struct {
    int (*carry_out)(struct model *model, void *payload);
    bool changes;
} requests[] = {
    [KXQOS_DEBUG_SET] = {debug_set, true},
    [KXQOS_DEBUG_GET] = {debug_get, false},
    [KXQOS_DEBUG_SHOW] = {debug_show, true},
    [KXQOS_BUCKET_SET] = {bucket_set, true},
    [KXQOS_BUCKET_DELETE] = {bucket_delete, true},
    [KXQOS_BUCKET_GET] = {bucket_get, false},
    [KXQOS_BUCKET_NEXT] = {bucket_next, false},
    [KXQOS_BUCKET_SHOW] = {bucket_show, true},
    [KXQOS_RULE_ADD] = {rule_add, true},
    [KXQOS_RULE_DELETE] = {rule_delete, true},
    [KXQOS_RULE_RESET] = {rule_reset, true},
    [KXQOS_RULE_GET] = {rule_get, false},
    [KXQOS_RULE_NEXT] = {rule_next, false},
    [KXQOS_RATE_LIMIT_SET] = {rate_limit_set, true},
    [KXQOS_RATE_LIMIT_GET] = {rate_limit_get, false},
    [KXQOS_COUNTER_DISABLE] = {counter_disable, true},
    [KXQOS_COUNTER_ENABLE] = {counter_enable, true},
    [KXQOS_COUNTER_GET] = {counter_get, false},
    [KXQOS_COUNTER_CLEAR] = {counter_clear, true},
    [KXQOS_STATE_SET] = {state_set, true},
    [KXQOS_STATE_GET] = {state_get, false},
    [KXQOS_QUEUE_MAP_GET] = {queue_map_get, false},
    [KXQOS_PURE_DSCP_SET] = {pure_dscp_set, true},
    [KXQOS_PURE_DSCP_GET] = {pure_dscp_get, false},
    [KXQOS_FINE_CLASSIFY_SET] = {fine_classify_set, true},
    [KXQOS_FINE_CLASSIFY_GET] = {fine_classify_get, false},
    [KXQOS_REFRESH_SET] = {refresh_set, true},
};

static const uint16_t payload_sizes[] = {
#define PAYLOAD_SIZE(name, number, payload) [number] = sizeof(payload),
    KXQOS_REQUESTS(PAYLOAD_SIZE)
#undef PAYLOAD_SIZE
};

static_assert(sizeof requests / sizeof requests[0] == sizeof payload_sizes / sizeof payload_sizes[0],
              "the last request has no row");

static bool known(uint32_t request)
{
    const uint32_t number = request & 0xff;

    return request == KXQOS_REQUEST(number) && number < sizeof requests / sizeof requests[0] &&
           requests[number].carry_out != NULL;
}

size_t model_payload_size(uint32_t request)
{
    return known(request) ? payload_sizes[request & 0xff] : 0;
}

bool model_changes(uint32_t request)
{
    return known(request) && requests[request & 0xff].changes;
}

int model_request(struct model *model, uint32_t request, void *payload)
{
    return known(request) ? requests[request & 0xff].carry_out(model, payload) : -ENOTTY;
}

void model_init(struct model *model)
{
    static const kxqos_queue_map_t queue_map = {{1, 0, 2, 3, 4, 5, 6, 7}};

    memset(model, 0, sizeof *model);
    model->limits[1].upDir = 1;
    model->fine_classify_enabled = 1;
    model->queue_map = queue_map;
}
