// Changes to a copy of a rate-limit database, with the switch kept in step.
//
// The switch is touched only for the table that the copy's mode selects. The library's failures are printed and
// nothing more: the copy is changed all the same, and every operation returns 0. Nothing is written to the module.
#ifndef KXQOSCTL_LIMIT_HARDWARE_H
#define KXQOSCTL_LIMIT_HARDWARE_H

#include "kxqos.h"

// Installs (enable 1) or removes (enable 0) every entry of the table that the mode selects.
int oper_rate_limit_hw_rules(kxqos_rl_t *pRule, uint32_t enable);

// An entry with the same key (address range, VLAN id or port) gets the new rate, otherwise the first free one is
// taken; a full table ignores the addition silently.
int add_ip_rate_limit(kxqos_rl_t *pRule, const kxqos_ip_rl_t *entry);
int add_vlan_rate_limit(kxqos_rl_t *pRule, const kxqos_vlan_rl_t *entry);
int add_port_rate_limit(kxqos_rl_t *pRule, const kxqos_port_rl_t *entry);

// Removes the entry with the same key, if there is one, and closes the gap.
int del_ip_rate_limit(kxqos_rl_t *pRule, const kxqos_ip_rl_t *entry);
int del_vlan_rate_limit(kxqos_rl_t *pRule, const kxqos_vlan_rl_t *entry);
int del_port_rate_limit(kxqos_rl_t *pRule, const kxqos_port_rl_t *entry);

#endif
