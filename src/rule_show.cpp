#include "rule_show.h"

#include "action_fields.h"
#include "match_fields.h"
#include "number.h"
#include "output.h"
#include "profiles.h"

// What stands between the two texts of a field, by match_form.
static constexpr char joints[][8] = {"", " ~ ", ", mask ", ""};

static void show_protocol_bits(const kxqos_rule_t *pRule, const match_field &row, const match_text &text)
{
    const unsigned bits = pRule->field.ipProtocol;
    print("%s: %s%s (%s%s%s%s)\n", row.label, text.inverse, text.value,
          (bits & KXQOS_IPPROTO_BIT_ICMP) != 0 ? "icmp " : "", (bits & KXQOS_IPPROTO_BIT_TCP) != 0 ? "tcp " : "",
          (bits & KXQOS_IPPROTO_BIT_UDP) != 0 ? "udp " : "", (bits & KXQOS_IPPROTO_BIT_ICMPV6) != 0 ? "icmpv6 " : "");
}

static void show_field(const kxqos_rule_t *pRule, int field)
{
    const match_field &row = match_fields[field];
    match_text text;
    format_match_field(pRule, field, 8, &text);
    if (row.kind == match_kind::protocol_bits)
        show_protocol_bits(pRule, row, text);
    else
        print("%s: %s%s%s%s \n", row.label, text.inverse, text.value, joints[static_cast<int>(text.form)], text.second);
}

void show_rule_match_field(const kxqos_rule_t *pRule)
{
    print_line("  Match filed { ");
    int bit = 0;
    while (u8_bitmap_get_next_bit(pRule->fieldSel, 32, &bit) != 0)
        if (bit <= KXQOS_MATCH_MAX)
            show_field(pRule, bit - 1);
    print_line("  } ");
}

void show_rule_action(const kxqos_rule_t *pRule)
{
    print_line("  Action { ");
    for (int number = 0; number < KXQOS_ACTION_MAX; number++) {
        const action_field &row = action_fields[number];
        if (!shows_action(&pRule->action, number))
            continue;
        if (row.size != 0)
            print("    %s: %d \n", row.label, static_cast<int>(action_value(&pRule->action, row)));
        else
            print("    %s \n", row.label);
    }
    print_line("  } ");
}

void show_rule_entry(const kxqos_rule_t *pRule)
{
    print("Profile %s Rule ID: %02d  cnt:%lld\n", get_qos_profile_name(pRule->table_id), pRule->rule_id,
          static_cast<long long>(pRule->counter));
    show_rule_match_field(pRule);
    show_rule_action(pRule);
}
