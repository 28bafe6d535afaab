// The seam to the switch, which enforces the LAN-side limits.
//
// The gateway's library carries these out; a program that only reads a configuration links others.
#ifndef KXQOSCTL_SWITCH_H
#define KXQOSCTL_SWITCH_H

#include "kxqos.h"

// Installs (enable 1) or removes (enable 0) one limit of a direction (upDir 1 up, 0 down). Each returns 0, or what the
// library gave.
int switch_limit(uint8_t upDir, const kxqos_ip_rl_t &limit, uint32_t enable);
int switch_limit(uint8_t upDir, const kxqos_vlan_rl_t &limit, uint32_t enable);
int switch_limit(uint8_t upDir, const kxqos_port_rl_t &limit, uint32_t enable);

#endif
