#include "configuration.h"

#include "as_commands.h"
#include "device.h"
#include "limit_show.h"
#include "number.h"
#include "output.h"
#include "record.h"
#include "usage.h"
#include "walk.h"

static void separator()
{
    print_line("!");
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
            print_rule_command(&rule);
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
        print_bucket_command(&bucket);
    }
}

static bool read_state(kxqos_request nr, u32 *state)
{
    *state = 0;
    return kxqosctl_ioctl(KXQOS_REQUEST(nr), state) == 0;
}

static void dump_switches()
{
    // kept: each is shown in only one of its states, the one that a gateway just switched on does not have
    u32 state = 0;
    if (read_state(KXQOS_PURE_DSCP_GET, &state) && state != 0)
        print_line("puredscpremark enable ");
    if (read_state(KXQOS_FINE_CLASSIFY_GET, &state) && state == 0)
        print_line("fine-classifi disable ");
}

void show_running_configuation()
{
    separator();
    show_running_parts();
}

void show_running_parts()
{
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
