#include "rule_parse.h"

#include "action_fields.h"
#include "address.h"
#include "loss.h"
#include "match_fields.h"
#include "number.h"
#include "output.h"
#include "words.h"

#include <string.h>

// The flags that the value parsers give.
struct value_flags {
    int range;
    int inverse;
};

static int parse_number_value(const match_field &row, const char *text, void *value, void *mask, value_flags *flags)
{
    const int maximum = static_cast<int>(row.maximum);
    switch (row.size) {
    case sizeof(u8):
        return parse_u8_with_range(text, static_cast<u8 *>(value), static_cast<u8 *>(mask), 0, maximum, &flags->range,
                                   &flags->inverse);
    case sizeof(u16):
        return parse_u16_with_range(text, static_cast<u16 *>(value), static_cast<u16 *>(mask), 0, maximum,
                                    &flags->range, &flags->inverse);
    default:
        return parse_u32_with_range(text, static_cast<u32 *>(value), static_cast<u32 *>(mask), 0, maximum,
                                    &flags->range, &flags->inverse);
    }
}

static int parse_port_map(const match_field &row, const char *text, void *value, value_flags *flags)
{
    u32 unused = 0; // kept: a map has neither mask nor range, and what was given of either is dropped
    const int result = parse_number_value(row, text, value, &unused, flags);
    if (flags->range != 0)
        lose("the range");
    else if (result == 0 && text != nullptr && strchr(text, '/') != nullptr) // no value at all is refused
        lose("the mask");
    flags->range = 0;
    return result;
}

static int parse_device_name(const char *text, char *name, value_flags *flags)
{
    if (text == nullptr || strlen(text) >= KXQOS_DEVICE_NAME_SIZE) // kept: a "!" counts
        return -1;
    flags->inverse = *text == '!';
    strncpy(name, text + flags->inverse, KXQOS_DEVICE_NAME_SIZE); // clears what an earlier, longer name left
    return 0;
}

static int parse_value(const match_field &row, const char *text, kxqos_rule_t *rule, value_flags *flags)
{
    void *value = match_value(rule, row);
    void *mask = match_mask(rule, row);
    switch (row.kind) {
    case match_kind::mac:
        return parse_mac_addr(text, static_cast<u8 *>(value), static_cast<u8 *>(mask), &flags->range, &flags->inverse);
    case match_kind::ipv4:
        return parse_ip_addr(text, static_cast<u32 *>(value), static_cast<u32 *>(mask), &flags->range, &flags->inverse);
    case match_kind::ipv6:
        return parse_ipv6_addr(text, static_cast<in6_addr *>(value), static_cast<in6_addr *>(mask), &flags->range,
                               &flags->inverse);
    case match_kind::port_map:
        return parse_port_map(row, text, value, flags);
    case match_kind::device:
        return parse_device_name(text, static_cast<char *>(value), flags);
    case match_kind::decimal:
    case match_kind::hexadecimal:
    case match_kind::protocol_bits:
        break;
    }
    return parse_number_value(row, text, value, mask, flags);
}

// The number parsers report for themselves, and a bad device name is refused silently.
static void report_bad_value(const match_field &row)
{
    if (row.kind != match_kind::mac && row.kind != match_kind::ipv4 && row.kind != match_kind::ipv6)
        return;
    // kept: an egress field is reported under the ingress field's name
    const char *name = row.keyword[0] == 'e' ? row.keyword + 1 : row.keyword;
    print("Err: %s address format error \n", name);
}

static int parse_match_field(int field, const char *text, kxqos_rule_t *rule)
{
    const match_field &row = match_fields[field];
    value_flags flags = {};
    begin_match_field(rule, field);
    if (parse_value(row, text, rule, &flags) != 0) {
        report_bad_value(row);
        return -1;
    }
    // kept: the mode of protocol bits is left as it was, though a range is stored
    if (row.kind != match_kind::protocol_bits)
        set_field(rule->fieldMode, field, flags.range != 0);
    else if (flags.range != 0)
        lose("the range");
    set_field(rule->fieldInverse, field, flags.inverse != 0);
    set_field(rule->fieldSel, field, true);
    return 0;
}

int parse_rule_command(int count, const char *const *words, kxqos_rule_t *rule)
{
    for (int i = 0; i < count; i += 2) {
        if (equals(words[i], "action"))
            return i == 0 ? -1 : parse_action_command(count - (i + 1), words + i + 1, rule);
        const int field = find_match_field(words[i]);
        if (field < 0) {
            print_line("Err: Unknow command! ");
            return -1;
        }
        if (parse_match_field(field, i + 1 < count ? words[i + 1] : nullptr, rule) != 0)
            return -1;
    }
    return -1; // no "action"
}

static bool selects_egress_field(const kxqos_rule_t *rule)
{
    for (int field = KXQOS_MATCH_OUTDEV; field <= KXQOS_MATCH_EGR_L4SRCPORT; field++)
        if (has_field(rule->fieldSel, field))
            return true;
    return false;
}

static int parse_action(int number, const char *text, kxqos_rule_t *rule)
{
    const action_field &row = action_fields[number];
    if (number == KXQOS_ACTION_SKB_DBG_ON && selects_egress_field(rule)) {
        print_line("Err: do not support debug base on egress pipline field ");
        return -1;
    }
    if (row.size != 0) {
        u32 value = 0;
        if (parse_u32(text, &value, row.minimum, row.maximum) != 0)
            return -1;
        set_action_value(&rule->action, row, value);
    }
    if ((rule->action.actionFlag >> number & 1) != 0)
        lose("an action given before");
    rule->action.actionFlag |= 1U << number;
    return 0;
}

int parse_action_command(int count, const char *const *words, kxqos_rule_t *rule)
{
    for (int i = 0; i < count; i++) {
        const int number = find_action(words[i]);
        if (number < 0) {
            print("Err: unknown action %s! \n", words[i]);
            return -1;
        }
        if (parse_action(number, i + 1 < count ? words[i + 1] : nullptr, rule) != 0)
            return -1;
        if (action_fields[number].size != 0)
            i++;
    }
    return 0;
}
