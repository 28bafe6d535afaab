#include "replay.h"

#include "action_fields.h"
#include "commands.h"
#include "equal.h"
#include "message.h"
#include "number.h"
#include "record.h"
#include "recorder.h"
#include "seam_device.h"
#include "seam_loss.h"
#include "seam_output.h"
#include "words.h"

#include <stdio.h>

// Runs the command that the words make, and returns whether the tool would take it. What it would send is recorded.
static bool take_words(int count, const char *const *words, uint32_t debug, const kxqos_rl_t *limits)
{
    use_recorder();
    forget_printed();
    forget_losses();
    start_recording(debug, limits);
    return run_command(count, words) == 0 && !printed_trouble();
}

static constexpr char given_differently[] = "this is given twice, and differently";

// What has one value in a file: the same again is as good as once.
static const char *take_value(uint32_t value, place where, uint8_t *wanted, place *named)
{
    if (named->number != 0 && *wanted != value)
        return given_differently;
    *wanted = static_cast<uint8_t>(value);
    *named = where;
    return nullptr;
}

static const char *take_rule(const kxqos_rule_t &rule, place where, configuration *wanted, names *names)
{
    const int at = rule_place(rule.table_id, rule.rule_id);
    if (at < 0)
        return "no such rule: the number is too high for its profile";
    if (wanted->rules[at] != nullptr && !equal_rules(*wanted->rules[at], rule))
        return "this rule is given twice, and differently";
    keep_rule(wanted, at, rule);
    names->rules[at] = where;
    return nullptr;
}

static const char *drop_rule(const kxqos_rule_t &rule, configuration *wanted)
{
    const int at = rule_place(rule.table_id, rule.rule_id);
    if (at < 0 || wanted->rules[at] == nullptr)
        return "there is no such rule to delete";
    wanted->rules[at] = nullptr;
    return nullptr;
}

static const char *drop_rules(int profile, configuration *wanted)
{
    for (int at = first_place(profile); at < first_place(profile + 1); at++)
        wanted->rules[at] = nullptr;
    return nullptr;
}

static const char *take_bucket(const kxqos_rate_bucket_t &bucket, place where, configuration *wanted, names *names)
{
    const int at = bucket.bucketID - 1;
    if (wanted->buckets[at].bucketID != 0 && wanted->buckets[at].rateLimit != bucket.rateLimit)
        return "this bucket is given twice, with two rates";
    wanted->buckets[at] = bucket;
    names->buckets[at] = where;
    return nullptr;
}

static const char *drop_bucket(const kxqos_rate_bucket_t &bucket, configuration *wanted)
{
    const int at = bucket.bucketID - 1;
    if (wanted->buckets[at].bucketID == 0)
        return "there is no such bucket to delete";
    wanted->buckets[at].bucketID = 0;
    return nullptr;
}

// Adds the limit that stands alone in the table that a line wrote.
static const char *take_limit(const limit_table &written, place where, kxqos_rl_t *held, names *names)
{
    const char *limit = limit_at(written, 0);
    const limit_table table = table_of(held, written.mode);
    int at = find_limit(table, limit);
    if (at >= 0 && rate_of(table, limit_at(table, at)) != rate_of(table, limit))
        return "this limit is given twice, with two rates";
    if (at < 0)
        at = count_limits(table);
    if (at == table.size)
        return "the table of these limits is full";
    memcpy(limit_at(table, at), limit, table.entrySize);
    names->limits[held->upDir][table.mode][at] = where;
    return nullptr;
}

// Takes the table as a line that deletes has left it; the places move with their limits. Returns false when it is as it
// was.
static bool take_table(const limit_table &left, const limit_table &held, place (&places)[limit_entries_most])
{
    const int count = count_limits(held);
    if (count == count_limits(left))
        return false;
    int at = 0;
    while (at + 1 < count && same_key(held, limit_at(held, at), limit_at(left, at)))
        at++;
    memmove(places + at, places + at + 1, static_cast<size_t>(count - at - 1) * sizeof places[0]);
    memcpy(held.entries, left.entries, static_cast<size_t>(held.size) * held.entrySize);
    return true;
}

static const char *delete_limit(const line &line, kxqos_rl_t *held, names *names)
{
    // Once more, with what there is to delete from.
    take_words(line.count, line.words, 0, held);
    const kxqos_rl_t &left = what_was_recorded().limits;
    for (int mode = first_table; mode <= last_table; mode++)
        if (take_table(table_of(&left, mode), table_of(held, mode), names->limits[held->upDir][mode]))
            return nullptr;
    return "there is no such limit to delete";
}

static const char *take_limits(const line &line, const kxqos_rl_t &written, configuration *wanted, names *names)
{
    kxqos_rl_t &held = wanted->limits[written.upDir];
    if (written.mode != no_mode)
        return take_value(written.mode, line.where, &held.mode, &names->modes[written.upDir]);
    for (int mode = first_table; mode <= last_table; mode++) {
        const limit_table table = table_of(&written, mode);
        if (count_limits(table) != 0)
            return take_limit(table, line.where, &held, names);
    }
    return delete_limit(line, &held, names);
}

// Which categories a line names shows in what it changes, and that takes two replays: of flags that are all off, to see
// what it switches on, and of flags that are all on.
static const char *take_debug(const line &line, configuration *wanted, names *names)
{
    const uint32_t on = what_was_recorded().word;
    take_words(line.count, line.words, UINT32_MAX, nullptr);
    const uint32_t off = ~what_was_recorded().word;
    if ((((on & ~wanted->debug) | (off & wanted->debug)) & names->debugBits) != 0)
        return given_differently;
    wanted->debug = (wanted->debug | on) & ~off;
    names->debugBits |= on | off;
    for (int i = 0; i < debug_categories; i++)
        if (((on | off) >> i & 1) != 0)
            names->debug[i] = line.where;
    return nullptr;
}

static const char *take_word(const recorded &what, place where, configuration *wanted, names *names)
{
    for (int i = 0; i < switch_count; i++)
        if (gateway_switches[i].set == what.request)
            return take_value(what.word, where, &wanted->switches[i], &names->switches[i]);
    return take_value(what.word, where, &names->refreshWord, &names->refresh);
}

static const char *take_recorded(const line &line, configuration *wanted, names *names)
{
    const recorded &what = what_was_recorded();
    switch (what.request) {
    case KXQOS_RULE_ADD:
        return take_rule(what.rule, line.where, wanted, names);
    case KXQOS_RULE_DELETE:
        return drop_rule(what.rule, wanted);
    case KXQOS_RULE_RESET:
        return drop_rules(what.rule.table_id, wanted);
    case KXQOS_BUCKET_SET:
        return take_bucket(what.bucket, line.where, wanted, names);
    case KXQOS_BUCKET_DELETE:
        return drop_bucket(what.bucket, wanted);
    case KXQOS_COUNTER_ENABLE:
    case KXQOS_COUNTER_DISABLE:
        return take_value(what.request == KXQOS_COUNTER_ENABLE, line.where, &wanted->counters[what.number],
                          &names->counters[what.number]);
    case KXQOS_RATE_LIMIT_SET:
        return take_limits(line, what.limits, wanted, names);
    case KXQOS_DEBUG_SET:
        return take_debug(line, wanted, names);
    default:
        return take_word(what, line.where, wanted, names);
    }
}

// These commands look at the words they know and at no others after them.
static bool may_ignore_words(kxqos_request request)
{
    return request == KXQOS_BUCKET_SET || request == KXQOS_RATE_LIMIT_SET || request == KXQOS_DEBUG_SET;
}

// A line that the tool takes without its last word, too, has one that is ignored.
static bool ignores_last_word(const line &line)
{
    record_aside(true);
    const bool taken = take_words(line.count - 1, line.words, 0, nullptr);
    record_aside(false);
    return taken;
}

static const char *refused_words()
{
    const char *reason = printed_reason();
    return reason != nullptr ? reason : "a word is missing, unknown, too long or out of its range";
}

const char *replay_line(const line &line, configuration *wanted, names *names)
{
    if (line.count == 0)
        return "the line has too many words";
    if (reaches_library(line.words[0]))
        return "a command that does not configure";
    if (!take_words(line.count, line.words, 0, nullptr))
        return refused_words();
    const kxqos_request request = what_was_recorded().request;
    if (request == 0)
        return "a command that does not configure";
    if (const char *what = what_was_lost(&what_was_recorded().rule))
        return what;
    if (may_ignore_words(request) && ignores_last_word(line))
        return "the last word would be ignored";
    return take_recorded(line, wanted, names);
}

// The six lines of "!" divide a file into what stands before, five parts, and what stands after.
static constexpr int marks = 6;

static int part_of(kxqos_request request)
{
    switch (request) {
    case KXQOS_STATE_SET:
        return 1;
    case KXQOS_RULE_ADD:
        return 2;
    case KXQOS_PURE_DSCP_SET:
    case KXQOS_FINE_CLASSIFY_SET:
        return 3;
    case KXQOS_BUCKET_SET:
        return 4;
    case KXQOS_RATE_LIMIT_SET:
        return 5;
    default:
        return -1; // may stand anywhere
    }
}

struct reading {
    int marks;    // "!" lines so far
    int commands; // taken so far
    int wrong;
    place first; // the first command that belongs into a part but stands before the first mark
};

static const char *take_mark(reading *reading)
{
    reading->marks++;
    return reading->marks > marks ? "more than six lines of \"!\"" : nullptr;
}

static const char *check_part(place where, reading *reading)
{
    const int part = part_of(what_was_recorded().request);
    if (part >= 0 && reading->marks == 0 && reading->first.number == 0)
        reading->first = where;
    if (reading->marks == marks || (part >= 0 && reading->marks != 0 && reading->marks != part))
        return "stands after the wrong line of \"!\"";
    return nullptr;
}

static const char *take_line(const line &line, configuration *wanted, names *names, reading *reading)
{
    if (line.count == 1 && equals(line.words[0], "!"))
        return take_mark(reading);
    const char *wrong = replay_line(line, wanted, names);
    if (wrong != nullptr)
        return wrong;
    reading->commands++;
    return check_part(line.where, reading);
}

static bool check_whole(const file &file, reading *reading)
{
    if (reading->marks != 0 && reading->marks < marks)
        say("%s: has %d of the six lines of \"!\": it was cut off", file.name, reading->marks);
    else if (reading->marks != 0 && reading->first.number != 0)
        say_at(file, reading->first, "stands before the first line of \"!\"");
    else if (reading->commands == 0 && reading->wrong == 0)
        say("%s: names nothing; to have nothing, write \"qos disable\"", file.name);
    else
        return true;
    return false;
}

static void warn_of_buckets(const file &file, const configuration &wanted, const names &names)
{
    for (int at = 0; at < rule_places; at++) {
        const kxqos_rule_t *rule = wanted.rules[at];
        if (rule == nullptr || !shows_action(&rule->action, KXQOS_ACTION_RATE_LIMIT))
            continue;
        const int bucket = rule->action.rateBucket;
        if (wanted.buckets[bucket - 1].bucketID != 0)
            continue;
        char warning[64];
        snprintf(warning, sizeof warning, "warning: bucket %d is not set", bucket);
        say_at(file, names.rules[at], warning);
    }
}

bool read_configuration(const file &file, configuration *wanted, names *names)
{
    static line line;
    start_configuration(wanted);
    position position = {};
    reading reading = {};
    while (next_line(file, &position, &line)) {
        if (const char *wrong = take_line(line, wanted, names, &reading)) {
            say_at(file, line.where, wrong);
            reading.wrong++;
        }
    }
    if (!check_whole(file, &reading) || reading.wrong != 0)
        return false;
    warn_of_buckets(file, *wanted, *names);
    return true;
}
