#include "limit_table.h"

#include "limit_show.h"
#include "switch.h"

#include <string.h>

// All entries are laid out as told above.
template <typename Limit> constexpr bool is_entry()
{
    return offsetof(Limit, valid) == 0 && offsetof(Limit, rate) + sizeof(uint32_t) == sizeof(Limit);
}
static_assert(is_entry<kxqos_ip_rl_t>() && is_entry<kxqos_vlan_rl_t>() && is_entry<kxqos_port_rl_t>());

static constexpr int key_offset = sizeof(uint16_t);

template <typename Limit, size_t Size>
static limit_table make_table(Limit (&entries)[Size], int mode, const kxqos_rl_t *db)
{
    return {reinterpret_cast<char *>(entries), static_cast<uint8_t>(mode), db->upDir, sizeof(Limit), Size};
}

limit_table table_of(kxqos_rl_t *db, int mode)
{
    if (mode == RATELIMIT_MODE_IP)
        return make_table(db->ipRule, mode, db);
    if (mode == RATELIMIT_MODE_VLAN)
        return make_table(db->vlanRule, mode, db);
    return make_table(db->portRule, mode, db);
}

limit_table table_of(const kxqos_rl_t *db, int mode)
{
    return table_of(const_cast<kxqos_rl_t *>(db), mode);
}

char *limit_at(const limit_table &table, int index)
{
    return table.entries + index * table.entrySize;
}

bool limit_in_use(const char *limit)
{
    return limit[0] != 0 || limit[1] != 0;
}

uint32_t rate_of(const limit_table &table, const char *limit)
{
    uint32_t rate = 0;
    memcpy(&rate, limit + table.entrySize - sizeof rate, sizeof rate);
    return rate;
}

int count_limits(const limit_table &table)
{
    int count = 0;
    while (count < table.size && limit_in_use(limit_at(table, count)))
        count++;
    return count;
}

bool same_key(const limit_table &table, const char *a, const char *b)
{
    return memcmp(a + key_offset, b + key_offset, table.entrySize - key_offset - sizeof(uint32_t)) == 0;
}

int find_limit(const limit_table &table, const char *limit)
{
    const int count = count_limits(table);
    for (int i = 0; i < count; i++)
        if (same_key(table, limit_at(table, i), limit))
            return i;
    return -1;
}

bool equal_tables(const limit_table &a, const limit_table &b)
{
    const int count = count_limits(a);
    if (count != count_limits(b))
        return false;
    for (int i = 0; i < count; i++)
        if (memcmp(limit_at(a, i) + key_offset, limit_at(b, i) + key_offset, a.entrySize - key_offset) != 0)
            return false;
    return true;
}

bool equal_databases(const kxqos_rl_t &a, const kxqos_rl_t &b)
{
    for (int mode = first_table; mode <= last_table; mode++)
        if (!equal_tables(table_of(&a, mode), table_of(&b, mode)))
            return false;
    return a.mode == b.mode;
}

int switch_entry(const limit_table &table, const char *limit, uint32_t enable)
{
    if (table.mode == RATELIMIT_MODE_IP)
        return switch_limit(table.upDir, *reinterpret_cast<const kxqos_ip_rl_t *>(limit), enable);
    if (table.mode == RATELIMIT_MODE_VLAN)
        return switch_limit(table.upDir, *reinterpret_cast<const kxqos_vlan_rl_t *>(limit), enable);
    return switch_limit(table.upDir, *reinterpret_cast<const kxqos_port_rl_t *>(limit), enable);
}

void print_entry(const limit_table &table, const char *limit, bool addition)
{
    if (table.mode == RATELIMIT_MODE_IP)
        print_limit_command(table.upDir, addition, *reinterpret_cast<const kxqos_ip_rl_t *>(limit));
    else if (table.mode == RATELIMIT_MODE_VLAN)
        print_limit_command(table.upDir, addition, *reinterpret_cast<const kxqos_vlan_rl_t *>(limit));
    else
        print_limit_command(table.upDir, addition, *reinterpret_cast<const kxqos_port_rl_t *>(limit));
}
