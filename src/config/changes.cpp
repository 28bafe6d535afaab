#include "changes.h"

#include "equal.h"

static void add(change_list *list, change_kind kind, int index)
{
    list->changes[list->count++] = {kind, no_direction, 0, static_cast<int16_t>(index)};
}

static void add_limit(change_list *list, change_kind kind, int upDir, int mode, int index)
{
    list->changes[list->count++] = {kind, static_cast<uint8_t>(upDir), static_cast<uint8_t>(mode),
                                    static_cast<int16_t>(index)};
}

static void list_counters(const configuration &from, const configuration &to, const names &names, change_kind kind,
                          change_list *list)
{
    const uint8_t state = kind == change_kind::counter_enable;
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++)
        if (names.counters[number].number != 0 && to.counters[number] == state && from.counters[number] != state)
            add(list, kind, number);
}

// A switch whose state is unknown is left alone where it would only be put back to its initial state.
static bool switch_differs(const configuration &from, const configuration &to, int number)
{
    if (from.switches[number] == unknown_state)
        return to.switches[number] != gateway_switches[number].initial;
    return from.switches[number] != to.switches[number];
}

static void list_switch(const configuration &from, const configuration &to, int number, change_list *list)
{
    if (switch_differs(from, to, number))
        add(list, change_kind::switch_set, number);
}

static void list_set_buckets(const configuration &from, const configuration &to, change_list *list)
{
    for (int at = 0; at < KXQOS_BUCKET_LAST; at++)
        if (to.buckets[at].bucketID != 0 &&
            (from.buckets[at].bucketID == 0 || !equal_rates(to.buckets[at], from.buckets[at])))
            add(list, change_kind::bucket_set, at);
}

static void list_deleted_buckets(const configuration &from, const configuration &to, change_list *list)
{
    for (int at = 0; at < KXQOS_BUCKET_LAST && (from.unread & unread_buckets) == 0; at++)
        if (from.buckets[at].bucketID != 0 && to.buckets[at].bucketID == 0)
            add(list, change_kind::bucket_delete, at);
}

static void list_set_rules(const configuration &from, const configuration &to, change_list *list)
{
    for (int at = 0; at < rule_places; at++)
        if (to.rules[at] != nullptr && to.rules[at] != from.rules[at])
            add(list, change_kind::rule_set, at);
}

static int count_rules(const configuration &configuration, int profile)
{
    int count = 0;
    for (int at = first_place(profile); at < first_place(profile + 1); at++)
        count += configuration.rules[at] != nullptr;
    return count;
}

static void list_deleted_rules(const configuration &from, const configuration &to, int profile, change_list *list)
{
    if ((from.unread >> profile & 1) != 0 || count_rules(from, profile) == 0)
        return;
    if (count_rules(to, profile) == 0) {
        add(list, change_kind::rule_reset, profile);
        return;
    }
    for (int at = first_place(profile); at < first_place(profile + 1); at++)
        if (from.rules[at] != nullptr && to.rules[at] == nullptr)
            add(list, change_kind::rule_delete, at);
}

// What of the table in force in one database does not stand in the other's; all of it when the mode differs, or when it
// is not known whether the switch has it.
static void list_limits_of(const kxqos_rl_t &database, const kxqos_rl_t &other, bool unsure, change_kind kind,
                           change_list *list)
{
    if (database.mode < first_table || database.mode > last_table)
        return;
    const limit_table table = table_of(&database, database.mode);
    const limit_table others = table_of(&other, database.mode);
    for (int i = 0; i < count_limits(table); i++) {
        const char *limit = limit_at(table, i);
        const int at = find_limit(others, limit);
        if (unsure || database.mode != other.mode || at < 0 ||
            rate_of(table, limit) != rate_of(others, limit_at(others, at)))
            add_limit(list, kind, database.upDir, database.mode, i);
    }
}

// What goes leaves the switch before the database, and what comes is in the database before the switch. So whatever is
// in the switch is named by the database, and an apply that was killed leaves nothing that the next cannot know of.
static void list_limits(const configuration &from, const configuration &to, int upDir, change_list *list)
{
    const kxqos_rl_t &former = from.limits[upDir];
    const kxqos_rl_t &wanted = to.limits[upDir];
    const bool unsure = (from.unread & unsure_switch) != 0;
    const bool same = equal_databases(former, wanted);
    if ((from.unread & unread_limits(upDir)) != 0 || (same && !unsure))
        return;
    list_limits_of(former, wanted, unsure, change_kind::limit_remove, list);
    if (!same)
        add_limit(list, change_kind::limits_write, upDir, wanted.mode, 0);
    list_limits_of(wanted, former, unsure, change_kind::limit_install, list);
}

static void list_debug(const configuration &from, const configuration &to, const names &names, change_list *list)
{
    if ((from.unread & unread_debug) == 0 && ((from.debug ^ to.debug) & names.debugBits) != 0)
        add(list, change_kind::debug_set, 0);
}

void list_changes(const configuration &from, const configuration &to, const names &names, change_list *list)
{
    const bool goesOff = to.switches[switch_qos] == 0;
    list->count = 0;
    if (names.refresh.number != 0)
        add(list, change_kind::refresh, 0);
    if (goesOff)
        list_switch(from, to, switch_qos, list);
    list_counters(from, to, names, change_kind::counter_enable, list);
    list_set_buckets(from, to, list);
    list_set_rules(from, to, list);
    for (int upDir = 1; upDir >= 0; upDir--)
        list_limits(from, to, upDir, list);
    list_switch(from, to, switch_pure_dscp, list);
    list_switch(from, to, switch_fine_classification, list);
    list_debug(from, to, names, list);
    for (int profile = 0; profile < KXQOS_PROFILE_MAX; profile++)
        list_deleted_rules(from, to, profile, list);
    list_counters(from, to, names, change_kind::counter_disable, list);
    list_deleted_buckets(from, to, list);
    if (!goesOff)
        list_switch(from, to, switch_qos, list);
}

static place place_of_debug(const names &names)
{
    for (const place &where : names.debug)
        if (where.number != 0)
            return where;
    return {};
}

place place_of(const change &change, const names &names)
{
    switch (change.kind) {
    case change_kind::refresh:
        return names.refresh;
    case change_kind::counter_enable:
    case change_kind::counter_disable:
        return names.counters[change.index];
    case change_kind::switch_set:
        return names.switches[change.index];
    case change_kind::bucket_set:
        return names.buckets[change.index];
    case change_kind::rule_set:
        return names.rules[change.index];
    case change_kind::limit_install:
        return names.limits[change.upDir][change.mode][change.index];
    case change_kind::limits_write:
        return names.modes[change.upDir];
    case change_kind::debug_set:
        return place_of_debug(names);
    default:
        return {};
    }
}
