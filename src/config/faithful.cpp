#include "faithful.h"

#include "as_commands.h"
#include "equal.h"
#include "limit_show.h"
#include "match_fields.h"
#include "message.h"
#include "output.h"
#include "recorder.h"
#include "replay.h"
#include "seam_output.h"

#include <stdio.h>
#include <string.h>

static configuration replayed;
static names places; // of no use here

// Replays the line that was just printed. Returns null, or what is wrong with it.
static const char *replay_printed()
{
    static line line;
    static char text[printed_most + line_reserve];
    const char *shown = printed();
    const size_t size = strcspn(shown, "\n"); // a name that has a newline in it does not come back
    memcpy(text, shown, size + 1);            // what is printed by the replay takes its place
    divide_line(text, static_cast<uint32_t>(size), &line);
    return replay_line(line, &replayed, &places);
}

// Why a field came back otherwise.
static const char *reason_of(const kxqos_rule_t &rule, int field)
{
    const match_field &row = match_fields[field];
    if (row.kind == match_kind::protocol_bits)
        return "no line shows its mask";
    if (row.kind != match_kind::device || has_field(rule.fieldMode, field))
        return "another field is in its place, in a different form, or no command sets it like that";
    const char *name = static_cast<const char *>(match_value(&rule, row));
    if (name[0] == '\0')
        return "an empty name cannot be written";
    if (memchr(name, '\0', row.size) == nullptr)
        return "its name has no end";
    return "a blank, a newline or a leading \"!\" in its name";
}

// The first selected field with a name that a line cannot carry, or -1.
static int find_bad_name(const kxqos_rule_t &rule)
{
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        const match_field &row = match_fields[field];
        if (row.kind != match_kind::device || !has_field(rule.fieldSel, field))
            continue;
        const char *name = static_cast<const char *>(match_value(&rule, row));
        // After the "!" of an inverse field any name can stand.
        const bool unclear = (name[0] == '\0' || name[0] == '!') && !has_field(rule.fieldInverse, field);
        if (unclear || memchr(name, '\0', row.size) == nullptr || strcspn(name, " \t\n") != strlen(name))
            return field;
    }
    return -1;
}

// What became of a rule when its line was replayed.
static const char *reason_of(const kxqos_rule_t &rule, const char *wrong, int at)
{
    static char reason[160];
    int field = find_bad_name(rule);
    if (field < 0 && wrong == nullptr)
        field = different_field(rule, *replayed.rules[at]);
    if (field >= 0)
        wrong = reason_of(rule, field);
    snprintf(reason, sizeof reason, "would not come back equal: %s%s%s", field >= 0 ? match_fields[field].keyword : "",
             field >= 0 ? ": " : "", wrong);
    return reason;
}

// Why a rule would not come back equal from its line, or null.
static const char *check_rule(const kxqos_rule_t &rule, int at)
{
    forget_printed();
    print_rule_command(&rule);
    const char *wrong = replay_printed();
    if (wrong == nullptr && equal_rules(rule, *replayed.rules[at]))
        return nullptr;
    return reason_of(rule, wrong, at);
}

// Each of these leaves out what does not come back equal, and returns whether all did.

static bool leave_out_rule(configuration *held, int at)
{
    const kxqos_rule_t &rule = *held->rules[at];
    const char *why = check_rule(rule, at);
    if (why == nullptr)
        return true;
    say("rule %d profile %s %s", rule.rule_id, get_qos_profile_name(rule.table_id), why);
    held->rules[at] = nullptr;
    return false;
}

static bool check_bucket(kxqos_rate_bucket_t *bucket, int at)
{
    forget_printed();
    print_bucket_command(bucket);
    const char *wrong = replay_printed();
    if (wrong == nullptr && replayed.buckets[at].rateLimit == bucket->rateLimit)
        return true;
    say("bucket %d would not come back equal: %s", bucket->bucketID,
        wrong != nullptr ? wrong : "its rate is no whole number of kbps");
    bucket->bucketID = 0;
    return false;
}

static void say_limit(const limit_table &table, const char *limit, const char *wrong)
{
    forget_printed();
    print_entry(table, limit, true);
    const char *shown = printed();
    const int size = static_cast<int>(strcspn(shown, "\n")) - 1; // without the blank at its end
    say("%.*s would not come back equal: %s", size, shown, wrong != nullptr ? wrong : "no command adds such a limit");
}

// Keeps the entries that come back, in their order.
static bool check_table(const limit_table &table, const limit_table &back)
{
    int kept = 0;
    const int count = count_limits(table);
    for (int i = 0; i < count; i++) {
        char *limit = limit_at(table, i);
        char *returned = limit_at(back, kept);
        forget_printed();
        print_entry(table, limit, true);
        const char *wrong = replay_printed();
        if (wrong == nullptr && limit_in_use(returned) && same_key(table, limit, returned) &&
            rate_of(table, limit) == rate_of(back, returned)) {
            memmove(limit_at(table, kept), limit, table.entrySize);
            kept++;
        } else {
            say_limit(table, limit, wrong);
            memset(returned, 0, table.entrySize);
        }
    }
    memset(limit_at(table, kept), 0, static_cast<size_t>(table.size - kept) * table.entrySize);
    return kept == count;
}

static bool check_mode(kxqos_rl_t *limits)
{
    forget_printed();
    print_mode_command(limits);
    const char *wrong = replay_printed();
    if (wrong == nullptr)
        return true;
    say("the mode %d of the limits would not come back equal: %s", limits->mode, wrong);
    limits->mode = RATELIMIT_MODE_DISABLE;
    return false;
}

static bool check_limits(kxqos_rl_t *limits)
{
    bool all = check_mode(limits);
    for (int mode = first_table; mode <= last_table; mode++)
        all &= check_table(table_of(limits, mode), table_of(&replayed.limits[limits->upDir], mode));
    return all;
}

bool leave_out_unfaithful(configuration *held)
{
    start_configuration(&replayed);
    bool all = true;
    for (int at = 0; at < rule_places; at++)
        if (held->rules[at] != nullptr)
            all &= leave_out_rule(held, at);
    for (int at = 0; at < KXQOS_BUCKET_LAST; at++)
        if (held->buckets[at].bucketID != 0)
            all &= check_bucket(&held->buckets[at], at);
    for (int upDir = 1; upDir >= 0; upDir--)
        all &= check_limits(&held->limits[upDir]);
    return all;
}

bool can_be_saved(const file &file, const configuration &wanted, const names &names)
{
    bool all = true;
    for (int at = 0; at < rule_places; at++) {
        const kxqos_rule_t *rule = wanted.rules[at];
        // All else is shown as it was given, or was refused for what of it would be lost.
        if (rule == nullptr || !has_field(rule->fieldSel, KXQOS_MATCH_IPPROTO_BITS))
            continue;
        if (const char *why = check_rule(*rule, at)) {
            say_at(file, names.rules[at], why);
            all = false;
        }
    }
    return all;
}
