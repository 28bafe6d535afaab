#include "as_commands.h"

#include "action_fields.h"
#include "match_fields.h"
#include "number.h"
#include "output.h"
#include "profiles.h"
#include "record.h"

// What stands between the two texts of a field, by match_form.
static constexpr char joints[][2] = {"", "~", "/", ""};

static void print_match_fields(const kxqos_rule_t *rule)
{
    int bit = 0;
    bool first = true;
    while (u8_bitmap_get_next_bit(rule->fieldSel, 32, &bit) != 0) {
        if (first) // kept: also when the only bits set are those of no field
            print(" match");
        first = false;
        if (bit > KXQOS_MATCH_MAX)
            continue;
        match_text text;
        format_match_field(rule, bit - 1, 1, &text);
        print(" %s %s%s%s%s", match_fields[bit - 1].keyword, text.inverse, text.value,
              joints[static_cast<int>(text.form)], text.second);
    }
}

static void print_actions(const kxqos_action_t *action)
{
    print(" action");
    for (int number = 0; number < KXQOS_ACTION_MAX; number++) {
        const action_field &row = action_fields[number];
        if (!shows_action(action, number))
            continue;
        if (row.size != 0)
            print(" %s %d", row.keyword, static_cast<int>(action_value(action, row)));
        else
            print(" %s", row.keyword);
    }
    print("\n");
}

void print_rule_command(const kxqos_rule_t *rule)
{
    print("rule %d profile %s", rule->rule_id, get_qos_profile_name(rule->table_id));
    print_match_fields(rule);
    print_actions(&rule->action);
}

void print_bucket_command(const kxqos_rate_bucket_t *bucket)
{
    print("bucket %d rate %d\n", bucket->bucketID, static_cast<int>(bucket_kbps(bucket)));
}
