#include "switch.h"

#include "libkx.h"

int switch_limit(uint8_t upDir, const kxqos_ip_rl_t &limit, uint32_t enable)
{
    const ip_addr_t &low = limit.ip_min;
    const ip_addr_t &high = limit.ip_max;
    if (limit.isIpv6 != 0)
        return libkx_switchApi_ipv6SetRateLimit(low.ipv6Addr, high.ipv6Addr, upDir, enable, limit.rate);
    return libkx_switchApi_ipv4SetRateLimit(low.ipv4Addr, high.ipv4Addr, upDir, enable, limit.rate);
}

int switch_limit(uint8_t upDir, const kxqos_vlan_rl_t &limit, uint32_t enable)
{
    return libkx_switchApi_vlanSetRateLimit(limit.vid, upDir, enable, limit.rate);
}

int switch_limit(uint8_t upDir, const kxqos_port_rl_t &limit, uint32_t enable)
{
    // inverted: the direction of a port, at every call; the switch would limit the other one
    return libkx_switchApi_portSetRateLimit(limit.port, upDir == 0 ? 1 : 0, enable, limit.rate);
}
