// The displays of the rate-limit databases.
#ifndef KXQOSCTL_LIMIT_SHOW_H
#define KXQOSCTL_LIMIT_SHOW_H

#include "kxqos.h"

// Both directions, up first, for people. The first that cannot be read ends the display.
void show_rate_limit();

// The same in the form of limit commands, which set the modes and add the entries again.
void show_rate_limit_cfg();

// One limit of a direction as the command that adds or deletes it, and a database's mode as the command that sets it.
void print_limit_command(int upDir, bool addition, const kxqos_ip_rl_t &limit);
void print_limit_command(int upDir, bool addition, const kxqos_vlan_rl_t &limit);
void print_limit_command(int upDir, bool addition, const kxqos_port_rl_t &limit);
void print_mode_command(const kxqos_rl_t *pRule);

// The entries of one database in either form.
void dump_rate_limit_rule(const kxqos_rl_t *pRule);
void dump_rate_limit_cfg(const kxqos_rl_t *pRule);

#endif
