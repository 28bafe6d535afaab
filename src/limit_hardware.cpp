#include "limit_hardware.h"

#include "output.h"
#include "record.h"
#include "switch.h"

#include <string.h>

// What is being done to an entry in the switch, as the messages tell it apart.
enum class step : uint8_t { install, remove, remove_old_rate, switch_table };

// What differs between the tables: the key, the library call, the words of a failure and of an addition.

// All 16 bytes count, of an IPv4 address too.
static bool same_address(const ip_addr_t &a, const ip_addr_t &b)
{
    return memcmp(a.ipv6Addr.s6_addr, b.ipv6Addr.s6_addr, sizeof a.ipv6Addr.s6_addr) == 0;
}

static bool same_key(const kxqos_ip_rl_t &a, const kxqos_ip_rl_t &b)
{
    return same_address(a.ip_max, b.ip_max) && same_address(a.ip_min, b.ip_min) && a.isIpv6 == b.isIpv6;
}

static bool same_key(const kxqos_vlan_rl_t &a, const kxqos_vlan_rl_t &b)
{
    return a.vid == b.vid;
}

static bool same_key(const kxqos_port_rl_t &a, const kxqos_port_rl_t &b)
{
    return a.port == b.port;
}

// kept: a failure while a whole table is switched says "disable" for addresses and "enable" for the others, whichever
// way it goes; logs are searched for these words

static void report(const kxqos_ip_rl_t &limit, step what)
{
    print("hw %s %s rate limit %sfail \n", what == step::install ? "enable" : "disable",
          limit.isIpv6 != 0 ? "ipv6" : "ipv4", what == step::remove_old_rate ? "old rule " : "");
}

static void report(const char *kind, int number, step what)
{
    print("hw %s %s %d %s fail \n", what == step::install || what == step::switch_table ? "enable" : "disable", kind,
          number, what == step::remove_old_rate ? "old rate limit rule" : "rate limit");
}

static void report(const kxqos_vlan_rl_t &limit, step what)
{
    report("vlan", limit.vid, what);
}

static void report(const kxqos_port_rl_t &limit, step what)
{
    report("port", limit.port, what);
}

static void announce_addition(const kxqos_vlan_rl_t & /*limit*/, int index)
{
    print("add to a free entry %d\n", index);
}

// kept: only an addition to the VLAN table prints a line, which scripts expect
template <typename Limit> static void announce_addition(const Limit & /*limit*/, int /*index*/) {}

// What is the same for all: a table with the mode in which the switch enforces it.

template <typename Limit> struct limit_table {
    Limit *entries;
    int size;
    uint8_t upDir;
    bool active;
};

template <typename Limit, size_t Size>
static limit_table<Limit> table_of(const kxqos_rl_t *pRule, Limit (&entries)[Size], uint8_t mode)
{
    return {entries, static_cast<int>(Size), pRule->upDir, pRule->mode == mode};
}

static limit_table<kxqos_ip_rl_t> ip_table(kxqos_rl_t *pRule)
{
    return table_of(pRule, pRule->ipRule, RATELIMIT_MODE_IP);
}

static limit_table<kxqos_vlan_rl_t> vlan_table(kxqos_rl_t *pRule)
{
    return table_of(pRule, pRule->vlanRule, RATELIMIT_MODE_VLAN);
}

static limit_table<kxqos_port_rl_t> port_table(kxqos_rl_t *pRule)
{
    return table_of(pRule, pRule->portRule, RATELIMIT_MODE_PORT);
}

template <typename Limit>
static void update_switch(const limit_table<Limit> &table, const Limit &limit, uint32_t enable, step what)
{
    if (!table.active)
        return;
    expect_output();
    if (switch_limit(table.upDir, limit, enable) != 0)
        report(limit, what);
}

template <typename Limit> static void switch_entries(const limit_table<Limit> &table, uint32_t enable)
{
    for (int i = 0; i < table.size && table.entries[i].valid != 0; i++)
        update_switch(table, table.entries[i], enable, step::switch_table);
}

template <typename Limit> static int add(const limit_table<Limit> &table, const Limit &entry)
{
    for (int i = 0; i < table.size; i++) {
        Limit &limit = table.entries[i];
        if (limit.valid == 0) {
            announce_addition(limit, i);
            limit = entry;
        } else if (same_key(limit, entry)) {
            update_switch(table, limit, 0, step::remove_old_rate);
            limit.rate = entry.rate;
        } else {
            continue;
        }
        limit.valid = 1;
        update_switch(table, limit, 1, step::install);
        break;
    }
    return 0;
}

template <typename Limit> static int del(const limit_table<Limit> &table, const Limit &entry)
{
    int i = 0;
    while (i < table.size && table.entries[i].valid != 0 && !same_key(table.entries[i], entry))
        i++;
    if (i < table.size && table.entries[i].valid != 0) {
        update_switch(table, table.entries[i], 0, step::remove);
        clear(&table.entries[i]);
    }
    for (int j = i + 1; j < table.size; j++) {
        if (table.entries[j].valid != 0) {
            table.entries[j - 1] = table.entries[j];
            clear(&table.entries[j]);
        }
    }
    return 0;
}

int oper_rate_limit_hw_rules(kxqos_rl_t *pRule, uint32_t enable)
{
    switch (pRule->mode) {
    case RATELIMIT_MODE_VLAN:
        switch_entries(vlan_table(pRule), enable);
        break;
    case RATELIMIT_MODE_PORT:
        switch_entries(port_table(pRule), enable);
        break;
    case RATELIMIT_MODE_IP:
        switch_entries(ip_table(pRule), enable);
        break;
    default:
        break;
    }
    return 0;
}

int add_ip_rate_limit(kxqos_rl_t *pRule, const kxqos_ip_rl_t *entry)
{
    return add(ip_table(pRule), *entry);
}

int add_vlan_rate_limit(kxqos_rl_t *pRule, const kxqos_vlan_rl_t *entry)
{
    return add(vlan_table(pRule), *entry);
}

int add_port_rate_limit(kxqos_rl_t *pRule, const kxqos_port_rl_t *entry)
{
    return add(port_table(pRule), *entry);
}

int del_ip_rate_limit(kxqos_rl_t *pRule, const kxqos_ip_rl_t *entry)
{
    return del(ip_table(pRule), *entry);
}

int del_vlan_rate_limit(kxqos_rl_t *pRule, const kxqos_vlan_rl_t *entry)
{
    return del(vlan_table(pRule), *entry);
}

int del_port_rate_limit(kxqos_rl_t *pRule, const kxqos_port_rl_t *entry)
{
    return del(port_table(pRule), *entry);
}
