#include "limit_states.h"

#include <algorithm>
#include <cstring>

namespace {

// Tables. The entries in use are those before the first free one.

template <typename Entry, size_t Size> size_t used(const Entry (&table)[Size])
{
    size_t count = 0;
    while (count < Size && table[count].valid != 0)
        count++;
    return count;
}

template <typename Entry, size_t Size, typename Test> bool any_used(const Entry (&table)[Size], Test test)
{
    return std::any_of(table, table + used(table), test);
}

template <typename Test> bool any_ip(const kxqos_rl_t &database, Test test)
{
    return any_used(database.ipRule, test);
}

template <typename Entry, size_t Size> bool has_gap_in(const Entry (&table)[Size])
{
    return std::any_of(table + used(table), table + Size, [](const Entry &entry) { return entry.valid != 0; });
}

bool has_gap(const kxqos_rl_t &database)
{
    return has_gap_in(database.ipRule) || has_gap_in(database.vlanRule) || has_gap_in(database.portRule);
}

bool has_other_valid(const kxqos_rl_t &database)
{
    auto is_other = [](const auto &entry) { return entry.valid != 1; };
    return any_ip(database, is_other) || any_used(database.vlanRule, is_other) || any_used(database.portRule, is_other);
}

bool has_other_family(const kxqos_rl_t &database)
{
    return any_ip(database, [](const kxqos_ip_rl_t &entry) { return entry.isIpv6 > 1; });
}

// Typed a second time, a key only changes the rate of its first entry.
template <typename Entry, size_t Size, typename Same> bool has_double_in(const Entry (&table)[Size], Same same)
{
    for (size_t i = 0; i < used(table); i++) {
        for (size_t j = 0; j < i; j++) {
            if (same(table[i], table[j]))
                return true;
        }
    }
    return false;
}

bool has_double(const kxqos_rl_t &database)
{
    return has_double_in(database.ipRule,
                         [](const kxqos_ip_rl_t &left, const kxqos_ip_rl_t &right) {
                             return left.isIpv6 == right.isIpv6 && same(left.ip_min, right.ip_min) &&
                                    same(left.ip_max, right.ip_max);
                         }) ||
           has_double_in(database.vlanRule,
                         [](const auto &left, const auto &right) { return left.vid == right.vid; }) ||
           has_double_in(database.portRule,
                         [](const auto &left, const auto &right) { return left.port == right.port; });
}

// The last of an IPv6 address's eight groups.
unsigned last_group(const ip_addr_t &address)
{
    return static_cast<unsigned>(address.ipv6Addr.s6_addr[14]) << 8 | address.ipv6Addr.s6_addr[15];
}

bool goes_down(const kxqos_rl_t &database)
{
    return any_ip(database, [](const kxqos_ip_rl_t &entry) {
        if (entry.isIpv6 != 0)
            return last_group(entry.ip_max) < last_group(entry.ip_min);
        return entry.ip_max.ipv4Addr < entry.ip_min.ipv4Addr;
    });
}

bool has_wide_ipv6_range(const kxqos_rl_t &database)
{
    return any_ip(database, [](const kxqos_ip_rl_t &entry) {
        return entry.isIpv6 != 0 && std::memcmp(&entry.ip_min, &entry.ip_max, 14) != 0;
    });
}

bool has_other_vlan(const kxqos_rl_t &database)
{
    return any_used(database.vlanRule, [](const auto &entry) { return entry.vid < 1 || entry.vid > 4095; });
}

bool has_other_port(const kxqos_rl_t &database)
{
    return any_used(database.portRule, [](const auto &entry) { return entry.port > 31; });
}

// Of a free entry anything, of an IPv4 address what is after its four bytes.
template <typename Entry, size_t Size> bool has_meaningless_in(const Entry (&table)[Size])
{
    return std::any_of(table + used(table), table + Size, [](const Entry &entry) {
        Entry zero = {};
        return entry.valid == 0 && !same(entry, zero);
    });
}

bool has_meaningless_bytes(const kxqos_rl_t &database)
{
    auto has_tail = [](const ip_addr_t &address) {
        const uint8_t *bytes = address.ipv6Addr.s6_addr;
        return std::any_of(bytes + 4, bytes + 16, [](uint8_t byte) { return byte != 0; });
    };
    return has_meaningless_in(database.ipRule) || has_meaningless_in(database.vlanRule) ||
           has_meaningless_in(database.portRule) || any_ip(database, [&has_tail](const kxqos_ip_rl_t &entry) {
               return entry.isIpv6 == 0 && (has_tail(entry.ip_min) || has_tail(entry.ip_max));
           });
}

// Examples: a database that can be typed, with one thing changed

kxqos_rl_t plain_database()
{
    kxqos_rl_t database = {};
    database.ipRule[0].valid = 1;
    database.vlanRule[0] = {1, 1, 1};
    database.portRule[0] = {1, 1, 1};
    return database;
}

constexpr LimitState states[] = {
    {"a free entry before one in use", has_gap,
     [] {
         kxqos_rl_t database = plain_database();
         database.portRule[2] = {1, 2, 2};
         return database;
     }},
    {"an entry marked in use by another number than 1", has_other_valid,
     [] {
         kxqos_rl_t database = plain_database();
         database.vlanRule[0].valid = 2;
         return database;
     }},
    {"an address family other than 0 and 1", has_other_family,
     [] {
         kxqos_rl_t database = plain_database();
         database.ipRule[0].isIpv6 = 2;
         return database;
     }},
    {"a key that occurs twice", has_double,
     [] {
         kxqos_rl_t database = plain_database();
         database.portRule[1] = {1, 1, 2};
         return database;
     }},
    {"a range that ends before it begins", goes_down,
     [] {
         kxqos_rl_t database = plain_database();
         database.ipRule[0].ip_min.ipv4Addr = 1;
         return database;
     }},
    {"an IPv6 range that varies more than its last 16 bits", has_wide_ipv6_range,
     [] {
         kxqos_rl_t database = plain_database();
         database.ipRule[0].isIpv6 = 1;
         database.ipRule[0].ip_max.ipv6Addr.s6_addr[0] = 1;
         return database;
     }},
    {"a VLAN outside 1 to 4095", has_other_vlan,
     [] {
         kxqos_rl_t database = plain_database();
         database.vlanRule[0].vid = 0;
         return database;
     }},
    {"a port above 31", has_other_port,
     [] {
         kxqos_rl_t database = plain_database();
         database.portRule[0].port = 32;
         return database;
     }},
    {"bytes that carry no meaning", has_meaningless_bytes,
     [] {
         kxqos_rl_t database = plain_database();
         database.vlanRule[1].rate = 1;
         return database;
     }},
};

} // namespace

std::span<const LimitState> inexpressible_limit_states()
{
    return states;
}

std::set<std::string> inexpressible(const kxqos_rl_t &database)
{
    std::set<std::string> names;
    for (const LimitState &state : states) {
        if (state.holds(database))
            names.insert(state.name);
    }
    return names;
}

// Making databases

namespace {

uint32_t pick_rate(Random &random)
{
    switch (random.pick(4)) {
    case 0:
        return 0;
    case 1:
        return 0xffffffff;
    case 2:
        return 0x80000000;
    default:
        return random.pick(0xffffffff);
    }
}

kxqos_ip_rl_t random_range(Random &random)
{
    kxqos_ip_rl_t entry = {};
    entry.valid = 1;
    entry.isIpv6 = static_cast<uint16_t>(random.pick(2));
    entry.rate = pick_rate(random);
    if (entry.isIpv6 == 0) {
        entry.ip_min.ipv4Addr = random.pick(0x80000000);
        entry.ip_max.ipv4Addr = entry.ip_min.ipv4Addr + (random.pick(2) != 0 ? random.pick(0x80000000) : 0);
        return entry;
    }
    for (uint8_t &byte : entry.ip_min.ipv6Addr.s6_addr)
        byte = static_cast<uint8_t>(random.pick(3) == 0 ? random.pick(256) : 0);
    entry.ip_max = entry.ip_min;
    if (random.pick(2) != 0)
        entry.ip_max.ipv6Addr.s6_addr[14] = 0xff;
    return entry;
}

} // namespace

kxqos_rl_t random_database(Random &random, size_t ip_entries, size_t vlan_entries, size_t port_entries)
{
    kxqos_rl_t database = {};
    for (size_t i = 0; i < ip_entries; i++) {
        do
            database.ipRule[i] = random_range(random);
        while (!inexpressible(database).empty());
    }
    for (size_t i = 0; i < vlan_entries; i++) {
        auto vid = static_cast<uint16_t>(i == 0 ? 1 : 4096 - 200 * i + random.pick(100));
        database.vlanRule[i] = {1, i == 1 ? uint16_t{4095} : vid, pick_rate(random)};
    }
    for (size_t i = 0; i < port_entries; i++)
        database.portRule[i] = {1, static_cast<uint16_t>(i == 0 ? 31 : 2 * i - 2 + random.pick(2)), pick_rate(random)};
    return database;
}

namespace {

// In an entry in use or in the one after them.
template <typename Entry, size_t Size> void spoil_table(Entry (&table)[Size], Random &random)
{
    auto count = static_cast<uint32_t>(used(table));
    if (count > 1 && random.pick(4) == 0) {
        table[random.pick(count)] = table[random.pick(count)];
        return;
    }
    uint32_t place = random.pick(static_cast<uint32_t>(sizeof(Entry)) * std::min(count + 1, uint32_t{Size}));
    reinterpret_cast<uint8_t *>(table)[place] ^= static_cast<uint8_t>(1U << random.pick(8));
}

} // namespace

void spoil(kxqos_rl_t &database, Random &random)
{
    switch (random.pick(3)) {
    case 0:
        spoil_table(database.ipRule, random);
        break;
    case 1:
        spoil_table(database.vlanRule, random);
        break;
    default:
        spoil_table(database.portRule, random);
        break;
    }
}
