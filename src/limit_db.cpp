#include "limit_db.h"

#include "device.h"
#include "record.h"

#include <string.h>

// A request carries half of each table: the first (0) or the second (1).
static constexpr int ip_half = KXQOS_RL_IP_ENTRIES / 2;
static constexpr int vlan_half = KXQOS_RL_VLAN_ENTRIES / 2;
static constexpr int port_half = KXQOS_RL_PORT_ENTRIES / 2;

static int read_half(kxqos_rl_t *cfg, kxqos_rl_ioctl_t *half, int part)
{
    half->secondPart = static_cast<uint8_t>(part);
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RATE_LIMIT_GET), half) != 0)
        return -1;
    memcpy(cfg->ipRule + part * ip_half, half->ipRule, sizeof half->ipRule);
    memcpy(cfg->vlanRule + part * vlan_half, half->vlanRule, sizeof half->vlanRule);
    memcpy(cfg->portRule + part * port_half, half->portRule, sizeof half->portRule);
    return 0;
}

int get_rate_limit_db(kxqos_rl_t *cfg)
{
    kxqos_rl_ioctl_t half;
    clear(&half);
    half.upDir = cfg->upDir;
    if (read_half(cfg, &half, 0) != 0)
        return -1;
    cfg->mode = half.mode; // that of the second answer is not used
    // kept: the second request carries the first answer, with only its part changed
    return read_half(cfg, &half, 1);
}

static int write_half(const kxqos_rl_t *cfg, int part)
{
    kxqos_rl_ioctl_t half;
    clear(&half);
    half.upDir = cfg->upDir;
    half.mode = cfg->mode;
    half.secondPart = static_cast<uint8_t>(part);
    memcpy(half.ipRule, cfg->ipRule + part * ip_half, sizeof half.ipRule);
    memcpy(half.vlanRule, cfg->vlanRule + part * vlan_half, sizeof half.vlanRule);
    memcpy(half.portRule, cfg->portRule + part * port_half, sizeof half.portRule);
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RATE_LIMIT_SET), &half) == 0 ? 0 : -1;
}

int set_rate_limit_db(const kxqos_rl_t *cfg)
{
    return write_half(cfg, 0) == 0 ? write_half(cfg, 1) : -1;
}
