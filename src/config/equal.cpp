#include "equal.h"

#include "action_fields.h"
#include "match_fields.h"
#include "words.h"

#include <string.h>

static bool equal_values(const match_field &row, const void *a, const void *b)
{
    if (row.kind == match_kind::device)
        return begins(static_cast<const char *>(a), static_cast<const char *>(b), row.size);
    // What stands after an IPv4 address is left from another field.
    return memcmp(a, b, row.kind == match_kind::ipv4 ? sizeof(uint32_t) : row.size) == 0;
}

static bool equal_field(const kxqos_rule_t &a, const kxqos_rule_t &b, int field)
{
    const bool selected = has_field(a.fieldSel, field);
    if (selected != has_field(b.fieldSel, field))
        return false;
    if (!selected)
        return true;
    const match_field &row = match_fields[field];
    return has_field(a.fieldMode, field) == has_field(b.fieldMode, field) &&
           has_field(a.fieldInverse, field) == has_field(b.fieldInverse, field) &&
           equal_values(row, match_value(&a, row), match_value(&b, row)) &&
           (!has_mask(row) || equal_values(row, match_mask(&a, row), match_mask(&b, row)));
}

int different_field(const kxqos_rule_t &a, const kxqos_rule_t &b)
{
    for (int field = 0; field < KXQOS_MATCH_MAX; field++)
        if (!equal_field(a, b, field))
            return field;
    return -1;
}

static bool equal_actions(const kxqos_action_t &a, const kxqos_action_t &b)
{
    for (int number = 0; number < KXQOS_ACTION_MAX; number++) {
        const action_field &row = action_fields[number];
        if (shows_action(&a, number) != shows_action(&b, number))
            return false;
        if (shows_action(&a, number) && row.size != 0 && action_value(&a, row) != action_value(&b, row))
            return false;
    }
    return true;
}

// All up to the hits. A rule mostly comes back from the module as it was sent, and then nothing else is looked at.
static bool same_bytes(const kxqos_rule_t &a, const kxqos_rule_t &b)
{
    return memcmp(reinterpret_cast<const char *>(&a), reinterpret_cast<const char *>(&b),
                  offsetof(kxqos_rule_t, counter)) == 0;
}

bool equal_rules(const kxqos_rule_t &a, const kxqos_rule_t &b)
{
    if (same_bytes(a, b))
        return true;
    return different_field(a, b) < 0 && equal_actions(a.action, b.action);
}

static uint32_t rounded(uint32_t rateLimit)
{
    constexpr uint32_t step = 64 << 7; // 64 kbps, in the record's units
    return (rateLimit + step - 1) / step * step;
}

bool equal_rates(const kxqos_rate_bucket_t &wanted, const kxqos_rate_bucket_t &present)
{
    return present.rateLimit == wanted.rateLimit || present.rateLimit == rounded(wanted.rateLimit);
}
