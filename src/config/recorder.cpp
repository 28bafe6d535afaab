#include "recorder.h"

#include "record.h"

static recorded records[2];
static bool aside = false;
static uint32_t debug_answer = 0;
static const kxqos_rl_t *limit_answer = nullptr;

static constexpr int ip_half = KXQOS_RL_IP_ENTRIES / 2;
static constexpr int vlan_half = KXQOS_RL_VLAN_ENTRIES / 2;
static constexpr int port_half = KXQOS_RL_PORT_ENTRIES / 2;

void record_aside(bool on)
{
    aside = on;
}

void start_recording(uint32_t debug, const kxqos_rl_t *limits)
{
    records[aside].request = static_cast<kxqos_request>(0);
    debug_answer = debug;
    limit_answer = limits;
}

const recorded &what_was_recorded()
{
    return records[aside];
}

static void answer_limits(kxqos_rl_ioctl_t *half)
{
    half->mode = no_mode;
    if (limit_answer == nullptr)
        return; // as it was sent: empty
    const int part = half->secondPart;
    memcpy(half->ipRule, limit_answer->ipRule + part * ip_half, sizeof half->ipRule);
    memcpy(half->vlanRule, limit_answer->vlanRule + part * vlan_half, sizeof half->vlanRule);
    memcpy(half->portRule, limit_answer->portRule + part * port_half, sizeof half->portRule);
}

static void keep_limits(const kxqos_rl_ioctl_t &half)
{
    const int part = half.secondPart;
    recorded &kept = records[aside];
    kept.limits.upDir = half.upDir;
    kept.limits.mode = half.mode;
    memcpy(kept.limits.ipRule + part * ip_half, half.ipRule, sizeof half.ipRule);
    memcpy(kept.limits.vlanRule + part * vlan_half, half.vlanRule, sizeof half.vlanRule);
    memcpy(kept.limits.portRule + part * port_half, half.portRule, sizeof half.portRule);
}

static void keep(kxqos_request request, const void *payload)
{
    recorded &kept = records[aside];
    switch (request) {
    case KXQOS_RULE_ADD:
    case KXQOS_RULE_DELETE:
    case KXQOS_RULE_RESET:
        kept.rule = *static_cast<const kxqos_rule_t *>(payload);
        break;
    case KXQOS_BUCKET_SET:
    case KXQOS_BUCKET_DELETE:
        kept.bucket = *static_cast<const kxqos_rate_bucket_t *>(payload);
        break;
    case KXQOS_COUNTER_ENABLE:
    case KXQOS_COUNTER_DISABLE:
        kept.number = static_cast<const kxqos_counter_info_s *>(payload)->counterID;
        break;
    case KXQOS_RATE_LIMIT_SET:
        keep_limits(*static_cast<const kxqos_rl_ioctl_t *>(payload));
        break;
    case KXQOS_DEBUG_SET:
    case KXQOS_STATE_SET:
    case KXQOS_PURE_DSCP_SET:
    case KXQOS_FINE_CLASSIFY_SET:
    case KXQOS_REFRESH_SET:
        kept.word = *static_cast<const uint32_t *>(payload);
        break;
    default:
        return; // shows, or clears what is only counted
    }
    kept.request = request;
}

int record_request(kxqos_request request, void *payload)
{
    if (request == KXQOS_DEBUG_GET)
        *static_cast<uint32_t *>(payload) = debug_answer;
    else if (request == KXQOS_RATE_LIMIT_GET)
        answer_limits(static_cast<kxqos_rl_ioctl_t *>(payload));
    else
        keep(request, payload);
    return 0;
}
