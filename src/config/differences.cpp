#include "differences.h"

#include "as_commands.h"
#include "change_show.h"
#include "limit_show.h"
#include "message.h"
#include "output.h"
#include "seam_output.h"

#include <string.h>

void say_printed(const char *prefix, const char *wrong)
{
    for (const char *text = printed(); *text != '\0';) {
        const size_t size = strcspn(text, "\n");
        const int shown = static_cast<int>(size > 0 && text[size - 1] == ' ' ? size - 1 : size);
        say("%s: %s: %.*s", prefix, wrong, shown, text);
        text += size + (text[size] == '\n');
    }
}

static void say_held()
{
    say_printed("the gateway", "holds");
    forget_printed();
}

// What is not there is told of only where that was seen: that a part cannot be read was said when it was. Limits and
// flags that cannot be read are no change.

static void say_rule(const configuration &seen, const configuration &target, int at)
{
    const kxqos_rule_t *missing = target.rules[at];
    if (seen.rules[at] != nullptr)
        print_rule_command(seen.rules[at]);
    else if ((seen.unread >> missing->table_id & 1) == 0)
        print("no rule %d profile %s\n", missing->rule_id, get_qos_profile_name(missing->table_id));
    say_held();
}

static void say_rules(const configuration &seen, const configuration &target, int profile)
{
    for (int at = first_place(profile); at < first_place(profile + 1); at++)
        if (seen.rules[at] != nullptr)
            say_rule(seen, target, at);
}

static void say_bucket(const configuration &seen, int at)
{
    if (seen.buckets[at].bucketID != 0)
        print_bucket_command(&seen.buckets[at]);
    else if ((seen.unread & unread_buckets) == 0)
        print("no bucket %d\n", at + 1);
    say_held();
}

static void say_switch(const configuration &seen, int number)
{
    static constexpr char states[][8] = {"disable", "enable", "unknown"};
    print("%s %s\n", gateway_switches[number].keyword, states[seen.switches[number]]);
    say_held();
}

static void say_limits(const kxqos_rl_t &limits)
{
    print_mode_command(&limits);
    dump_rate_limit_cfg(&limits);
    say_held();
}

static void say_counter(int number, uint8_t state)
{
    if (state == unknown_state)
        return;
    print_counter_command(number, state);
    say_held();
}

// Returns whether there is anything to tell of.
static bool say_difference(const change &change, const configuration &seen, const configuration &target,
                           const names &names)
{
    switch (change.kind) {
    case change_kind::rule_set:
    case change_kind::rule_delete:
        say_rule(seen, target, change.index);
        return true;
    case change_kind::rule_reset:
        say_rules(seen, target, change.index);
        return true;
    case change_kind::bucket_set:
    case change_kind::bucket_delete:
        say_bucket(seen, change.index);
        return true;
    case change_kind::switch_set:
        say_switch(seen, change.index);
        return true;
    case change_kind::counter_enable:
    case change_kind::counter_disable:
        say_counter(change.index, seen.counters[change.index]);
        return true;
    case change_kind::limits_write:
        say_limits(seen.limits[change.upDir]);
        return true;
    case change_kind::debug_set:
        print_debug_commands((seen.debug ^ target.debug) & names.debugBits, seen.debug);
        say_held();
        return true;
    default: // a part of another change, or no state
        return false;
    }
}

bool say_differences(const configuration &seen, const configuration &target, const names &names)
{
    static change_list list;
    bool any = false;
    list_changes(seen, target, names, &list);
    forget_printed();
    for (int i = 0; i < list.count; i++)
        any |= say_difference(list.changes[i], seen, target, names);
    return any;
}
