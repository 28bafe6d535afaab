#include "configuration.h"

#include "action_fields.h"
#include "bucket.h"
#include "device.h"
#include "limit_show.h"
#include "match_fields.h"
#include "number.h"
#include "output.h"
#include "profiles.h"
#include "record.h"
#include "rule_command.h"
#include "usage.h"

// What stands between the two texts of a field, by match_form.
static constexpr char joints[][2] = {"", "~", "/", ""};

static void separator()
{
    print_line("!");
}

static void dump_match_fields(const kxqos_rule_t *rule)
{
    int bit = 0;
    bool first = true;
    while (u8_bitmap_get_next_bit(rule->fieldSel, 32, &bit) != 0) {
        if (first) // before bits that are no field, too: meant
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

static void dump_actions(const kxqos_action_t *action)
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

static void dump_rule(const kxqos_rule_t *rule)
{
    print("rule %d profile %s", rule->rule_id, get_qos_profile_name(rule->table_id));
    dump_match_fields(rule);
    dump_actions(&rule->action);
}

// One record is the cursor of the whole walk: the returned rule is sent on, whatever its profile, and a new profile
// changes its ids alone.
static void dump_rules()
{
    kxqos_rule_t rule;
    clear(&rule);
    for (uint16_t profile = 0; profile < KXQOS_PROFILE_MAX; profile++) {
        rule.table_id = profile;
        rule.rule_id = 0;
        // The module may return its rules in any order, so only an id of 0 is the end; but a walk that has seen as
        // many as there can be ends there, too.
        for (int seen = 0; seen < KXQOS_ID_LAST; seen++) {
            if (get_next_valid_rule_entry(&rule) != 0 || rule.rule_id == 0)
                break;
            dump_rule(&rule);
        }
    }
}

static void dump_buckets()
{
    kxqos_rate_bucket_t bucket;
    clear(&bucket);
    for (int seen = 0; seen < KXQOS_ID_LAST; seen++) { // as for rules
        if (get_next_valid_rate_bucket(&bucket) != 0 || bucket.bucketID == 0)
            return;
        print("bucket %d rate %d\n", bucket.bucketID, static_cast<int>(bucket_kbps(&bucket)));
    }
}

static bool read_state(kxqos_request nr, u32 *state)
{
    *state = 0;
    return kxqosctl_ioctl(KXQOS_REQUEST(nr), state) == 0;
}

static void dump_switches()
{
    // Each is shown in only one of its states: meant.
    u32 state = 0;
    if (read_state(KXQOS_PURE_DSCP_GET, &state) && state != 0)
        print_line("puredscpremark enable ");
    if (read_state(KXQOS_FINE_CLASSIFY_GET, &state) && state == 0)
        print_line("fine-classifi disable ");
}

void show_running_configuation()
{
    separator();
    u32 state = 0;
    if (read_state(KXQOS_STATE_GET, &state))
        print("qos %s\n", state != 0 ? "enable" : "disable");
    separator();
    dump_rules();
    separator();
    dump_switches();
    separator();
    dump_buckets();
    separator();
    show_rate_limit_cfg();
    separator();
}

int do_configuration_command(int count, const char *const * /*words*/)
{
    if (count != 1) {
        configuration_cmd_usage();
        return -1;
    }
    show_running_configuation();
    return 0;
}
