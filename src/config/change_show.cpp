#include "change_show.h"

#include "as_commands.h"
#include "limit_show.h"
#include "output.h"

// By bit; each is spelt as the tool's own usage has it.
static constexpr char category_names[debug_categories][13] = {
    "info", "warnning", "error", "packet", "pre-match", "match", "action", "fineclassifi", "ratelimit",
};

const char *debug_category_name(int number)
{
    return category_names[number];
}

void print_debug_commands(uint32_t bits, uint32_t flags)
{
    for (int i = 0; i < debug_categories; i++)
        if ((bits >> i & 1) != 0)
            print("debug %s %s\n", category_names[i], (flags >> i & 1) != 0 ? "on" : "off");
}

void print_counter_command(int number, bool enabled)
{
    print("counter %d %s\n", number, enabled ? "enable" : "disable");
}

static void print_switch(const char *keyword, bool enabled)
{
    print("%s %s\n", keyword, enabled ? "enable" : "disable");
}

// A limit that is added goes after all others. So of the former limits those stay that, in their order, are the first
// of the new ones, with their new rates; the others are deleted, and what is missing then is added.
static void print_table(const limit_table &from, const limit_table &to)
{
    const int wanted = count_limits(to);
    int kept = 0;
    for (int i = 0; i < count_limits(from); i++) {
        const char *limit = limit_at(from, i);
        const char *next = limit_at(to, kept);
        if (kept == wanted || !same_key(from, limit, next)) {
            print_entry(from, limit, false);
            continue;
        }
        if (rate_of(from, limit) != rate_of(to, next))
            print_entry(to, next, true);
        kept++;
    }
    for (int i = kept; i < wanted; i++)
        print_entry(to, limit_at(to, i), true);
}

static void print_database(const kxqos_rl_t &from, const kxqos_rl_t &to)
{
    if (from.mode != to.mode)
        print_mode_command(&to);
    for (int mode = first_table; mode <= last_table; mode++)
        print_table(table_of(&from, mode), table_of(&to, mode));
}

static void print_file_line(const file &file, place where)
{
    static line line;
    divide_line(file.text + where.start, where.size, &line);
    for (int i = 0; i < line.count; i++)
        print("%s%s", i == 0 ? "" : " ", line.words[i]);
    print("\n");
}

static void print_rule_named(const kxqos_rule_t &rule, const char *what)
{
    print("rule %d profile %s %s\n", rule.rule_id, get_qos_profile_name(rule.table_id), what);
}

// What is the same in full and in brief. Returns false for what is not.
static bool print_simple(const change &change, const configuration &from, const configuration &to)
{
    switch (change.kind) {
    case change_kind::switch_set:
        print_switch(gateway_switches[change.index].keyword, to.switches[change.index] != 0);
        return true;
    case change_kind::bucket_delete:
        print("bucket %d delete\n", from.buckets[change.index].bucketID);
        return true;
    case change_kind::rule_delete:
        print_rule_named(*from.rules[change.index], "delete");
        return true;
    case change_kind::rule_reset:
        print("reset profile %s\n", get_qos_profile_name(static_cast<uint16_t>(change.index)));
        return true;
    default:
        return false;
    }
}

static void print_limit(const kxqos_rl_t &db, const change &change, bool addition)
{
    const limit_table table = table_of(&db, change.mode);
    print_entry(table, limit_at(table, change.index), addition);
}

void print_change(const change &change, const configuration &from, const configuration &to, const names &names,
                  const file &file)
{
    if (print_simple(change, from, to))
        return;
    switch (change.kind) {
    case change_kind::refresh:
        print_switch("refresh", names.refreshWord == 0);
        break;
    case change_kind::counter_enable:
    case change_kind::counter_disable:
        print_counter_command(change.index, change.kind == change_kind::counter_enable);
        break;
    case change_kind::bucket_set:
        print_bucket_command(&to.buckets[change.index]);
        break;
    case change_kind::rule_set:
        print_file_line(file, names.rules[change.index]);
        break;
    case change_kind::limits_write:
        print_database(from.limits[change.upDir], to.limits[change.upDir]);
        break;
    case change_kind::limit_install: // mostly by a change of the database
        if ((from.unread & unsure_switch) != 0)
            print_limit(to.limits[change.upDir], change, true);
        break;
    case change_kind::debug_set:
        print_debug_commands((from.debug ^ to.debug) & names.debugBits, to.debug);
        break;
    default:
        break;
    }
}

void print_change_briefly(const change &change, const configuration &from, const configuration &to)
{
    if (print_simple(change, from, to))
        return;
    if (change.kind == change_kind::limit_remove)
        print_limit(from.limits[change.upDir], change, false);
    else
        print_mode_command(&to.limits[change.upDir]);
}
