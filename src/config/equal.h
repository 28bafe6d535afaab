// Whether two things are equal as far as commands can make them differ.
#ifndef KXQOS_CONFIG_EQUAL_H
#define KXQOS_CONFIG_EQUAL_H

#include "kxqos.h"

#include <endian.h>
#include <string.h>

// The selected fields: field n is bit n.
inline uint32_t selected_fields(const kxqos_rule_t &rule)
{
    uint32_t fields = 0;
    memcpy(&fields, rule.fieldSel, sizeof fields);
    return le32toh(fields);
}

// The selected fields (value, mask, form, inverse) and the actions that commands set; ids, hits and what only the
// module sets do not count.
bool equal_rules(const kxqos_rule_t &a, const kxqos_rule_t &b);

// The first field in which they differ (KXQOS_MATCH_*), or -1 for none.
int different_field(const kxqos_rule_t &a, const kxqos_rule_t &b);

// The rate that was asked for and the one that is there, which the module may have rounded up to its granularity.
bool equal_rates(const kxqos_rate_bucket_t &wanted, const kxqos_rate_bucket_t &present);

#endif
