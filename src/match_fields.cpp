#include "match_fields.h"

#include "address.h"
#include "number.h"
#include "words.h"

#include <string.h>

// clang-format off
#define VALUE(member) \
    offsetof(kxqos_rule_t, member), sizeof(kxqos_rule_t::member)
#define ENTRY(member) \
    offsetof(kxqos_rule_t, field) + offsetof(kxqos_entry_t, member), sizeof(kxqos_entry_t::member)

constexpr match_field match_fields[KXQOS_MATCH_MAX] = {
    // keyword, characters that count, kind, place and size, digits, maximum, label
    // kept: a label begins with four blanks or with a tab, as it always did, and scripts take it apart
    {"dmac",       2, match_kind::mac,           ENTRY(dstMac),       0, 0,          "    dmac"},
    {"smac",       2, match_kind::mac,           ENTRY(srcMac),       0, 0,          "    smac"},
    {"ethertype",  2, match_kind::hexadecimal,   ENTRY(etherType),    4, 65535,      "    ethertype"},
    {"tpid",       2, match_kind::hexadecimal,   ENTRY(tpid),         4, 65535,      "    tpid"},
    {"vid",        2, match_kind::decimal,       ENTRY(vlanID),       3, 4095,       "    vid"},
    {"pri",        3, match_kind::decimal,       ENTRY(vlanPri),      2, 7,          "    priority"},
    {"ivid",       2, match_kind::decimal,       ENTRY(innerVlanID),  3, 4095,       "    inner vid"},
    {"ipri",       2, match_kind::decimal,       ENTRY(innerVlanPri), 2, 7,          "    inner priority"},
    {"dip",        4, match_kind::ipv4,          ENTRY(dstIP),        0, 0,          "    dip4"},
    {"sip",        4, match_kind::ipv4,          ENTRY(srcIP),        0, 0,          "    sip4"},
    {"dip6",       5, match_kind::ipv6,          ENTRY(dstIP),        0, 0,          "    dip6"},
    {"sip6",       5, match_kind::ipv6,          ENTRY(srcIP),        0, 0,          "    sip6"},
    {"tos",        2, match_kind::decimal,       ENTRY(tos),          2, 255,        "    tos"},
    {"dscp",       2, match_kind::decimal,       ENTRY(dscp),         2, 63,         "    dscp"},
    {"pre",        3, match_kind::decimal,       ENTRY(pre),          1, 7,          "    pre"},
    {"fl",         3, match_kind::decimal,       ENTRY(flowlabel),    5, 0xFFFFF,    "    fl"},
    {"tc",         3, match_kind::decimal,       ENTRY(tc),           2, 255,        "    tc"},
    {"protocol",   3, match_kind::decimal,       ENTRY(ipProtocol),   2, 255,        "    ip protocol"},
    {"sport",      2, match_kind::decimal,       ENTRY(srcPort),      4, 65535,      "    srcPort"},
    {"dport",      2, match_kind::decimal,       ENTRY(dstPort),      4, 65535,      "    dstPort"},
    {"rxports",    3, match_kind::port_map,      VALUE(rxPortBits),   0, 0xFFFFFFFF, "\trx ports"},
    {"txports",    3, match_kind::port_map,      VALUE(txPortBits),   0, 0xFFFFFFFF, "\ttx ports"},
    {"indev",      2, match_kind::device,        VALUE(inDev),        0, 0,          "    rx dev"}, // invirtdev too
    {"outdev",     2, match_kind::device,        VALUE(outDev),       0, 0,          "\ttx dev"},
    {"wan",        4, match_kind::device,        VALUE(wanDev),       0, 0,          "    wan dev"},
    {"edmac",      6, match_kind::mac,           ENTRY(dstMac),       0, 0,          "\tegress dmac"},
    {"esip",       5, match_kind::ipv4,          ENTRY(srcIP),        0, 0,          "\tegress sip4"},
    {"esip6",      6, match_kind::ipv6,          ENTRY(srcIP),        0, 0,          "\tegress sip6"},
    {"esport",     7, match_kind::decimal,       ENTRY(srcPort),      4, 65535,      "\tegress srcPort"},
    {"protocols",  9, match_kind::protocol_bits, ENTRY(ipProtocol),   0, 255,        "\tip protocol bits"},
};
// clang-format on

// A row has its keyword again, so that it can be read by itself.
#define IS_IN_ITS_ROW(name, number, word) \
    static_assert(__builtin_strcmp(match_fields[number].keyword, word) == 0, "not in its row of match_fields: " word);
KXQOS_MATCHES(IS_IN_ITS_ROW)

int find_match_field(const char *word)
{
    // From the last row on, because "protocols" must be tried before "protocol", which is content with "pro".
    // No other two rows take the same word.
    for (int field = KXQOS_MATCH_MAX - 1; field >= 0; field--) {
        const match_field &row = match_fields[field];
        if (*word == *row.keyword && begins(word, row.keyword, row.compared)) // most differ at once
            return field;
    }
    return -1;
}

void set_field(uint8_t (&set)[4], int field, bool on)
{
    const auto number = static_cast<unsigned>(field);
    const auto bit = static_cast<uint8_t>(1U << number % 8);
    if (on)
        set[number / 8] |= bit;
    else
        set[number / 8] &= static_cast<uint8_t>(~bit);
}

static u32 number_at(const void *value, int size)
{
    switch (size) {
    case sizeof(u8):
        return *static_cast<const u8 *>(value);
    case sizeof(u16):
        return *static_cast<const u16 *>(value);
    default:
        return *static_cast<const u32 *>(value);
    }
}

static void format_hex(char *text, u32 value, int digits)
{
    text[0] = '0';
    text[1] = 'x';
    put_hex(text + 2, value, digits);
}

static void format_number(const match_field &row, const void *value, const void *second, match_text *text)
{
    const u32 number = number_at(value, row.size);
    const u32 other = number_at(second, row.size);
    if (row.kind == match_kind::hexadecimal)
        format_hex(text->value, number, row.digits);
    else
        put_decimal(text->value, number);
    if (row.kind == match_kind::hexadecimal || text->form == match_form::mask)
        format_hex(text->second, other, row.digits);
    else
        put_decimal(text->second, other);
}

static void format_ipv6(const void *value, const void *second, match_text *text)
{
    ip62str(static_cast<const in6_addr *>(value), text->value, sizeof text->value);
    if (text->form == match_form::range) {
        ip62str(static_cast<const in6_addr *>(second), text->second, sizeof text->second);
    } else {
        text->form = match_form::prefix;
        ip6mask2str(static_cast<const in6_addr *>(second), text->second, sizeof text->second);
    }
}

static void format_single(const match_field &row, const void *value, int portMapDigits, match_text *text)
{
    text->form = match_form::single;
    text->second[0] = '\0';
    if (row.kind == match_kind::device) {
        // The name may fill its field to the last character.
        memcpy(text->value, value, row.size);
        text->value[row.size] = '\0';
    } else {
        format_hex(text->value, number_at(value, row.size), row.kind == match_kind::port_map ? portMapDigits : 2);
    }
}

void format_match_field(const kxqos_rule_t *rule, int field, int portMapDigits, match_text *text)
{
    const match_field &row = match_fields[field];
    const void *value = match_value(rule, row);
    const void *second = match_mask(rule, row);
    text->inverse = has_field(rule->fieldInverse, field) ? "!" : "";
    text->form = has_field(rule->fieldMode, field) ? match_form::range : match_form::mask;
    switch (row.kind) {
    case match_kind::mac:
        mac2str(static_cast<const u8 *>(value), text->value, sizeof text->value);
        mac2str(static_cast<const u8 *>(second), text->second, sizeof text->second);
        break;
    case match_kind::ipv4:
        ip2str(*static_cast<const u32 *>(value), text->value, sizeof text->value);
        ip2str(*static_cast<const u32 *>(second), text->second, sizeof text->second);
        break;
    case match_kind::ipv6:
        format_ipv6(value, second, text);
        break;
    case match_kind::decimal:
    case match_kind::hexadecimal:
        format_number(row, value, second, text);
        break;
    case match_kind::port_map:
    case match_kind::device:
    case match_kind::protocol_bits:
        format_single(row, value, portMapDigits, text);
        break;
    }
}
