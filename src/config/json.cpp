#include "json.h"

#include "action_fields.h"
#include "address.h"
#include "change_show.h"
#include "device.h"
#include "gateway.h"
#include "match_fields.h"
#include "message.h"
#include "output.h"
#include "record.h"
#include "seam_device.h"
#include "seam_output.h"
#include "verbs.h"
#include "version.h"

#include <string.h>

// What only "show" tells, beside a configuration.
struct readings {
    kxqos_counter_info_s counters[KXQOS_COUNTER_LAST + 1]; // by number; counterID 0: not in use
    kxqos_queue_map_t queueMap;
    uint32_t debug;
};

static bool cannot_read(const char *what)
{
    say("cannot read %s: %s", what, gateway_failure());
    return false;
}

static bool read_readings(readings *readings)
{
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        readings->counters[number].counterID = number;
        if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_COUNTER_GET), &readings->counters[number]) != 0)
            return cannot_read("the counters");
    }
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_QUEUE_MAP_GET), &readings->queueMap) != 0)
        return cannot_read("the queue map");
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_GET), &readings->debug) != 0)
        return cannot_read("the debug flags");
    return true;
}

// What stands in front of the next thing of a list: a comma, but for the first.
static const char *next(bool *first)
{
    const char *text = *first ? "" : ",";
    *first = false;
    return text;
}

// As a string of JSON. A byte that is no printable ASCII, of a name in whatever encoding, stands as the character of
// its number.
static void print_string(const char *text)
{
    print("\"");
    for (; *text != '\0'; text++) {
        const auto c = static_cast<unsigned char>(*text);
        if (c == '"' || c == '\\')
            print("\\%c", c);
        else if (c < ' ' || c > '~')
            print("\\u%04x", c);
        else
            print("%c", c);
    }
    print("\"");
}

static const char *boolean(bool value)
{
    return value ? "true" : "false";
}

static void print_field(const kxqos_rule_t &rule, int field, bool *first)
{
    match_text text;
    format_match_field(&rule, field, 1, &text);
    print("%s{\"field\":\"%s\",\"inverse\":%s,\"value\":", next(first), match_fields[field].keyword,
          boolean(has_field(rule.fieldInverse, field)));
    print_string(text.value);
    const char *second = text.second + (text.second[0] == '/'); // in front of a mask of IPv6
    if (text.form == match_form::range)
        print(",\"end\":\"%s\"", second);
    else if (*second != '\0')
        print(",\"mask\":\"%s\"", second);
    print("}");
}

// The two that no command sets have no keyword of the tool's.
static const char *action_name(int number)
{
    if (number == KXQOS_ACTION_FINE_CLASSIFY)
        return "fine-classification";
    if (number == KXQOS_ACTION_REMARK_FORCE_DSCP)
        return "forced-dscp-remarking";
    return action_fields[number].keyword;
}

static void print_actions(const kxqos_action_t &action)
{
    bool first = true;
    for (int number = 0; number < KXQOS_ACTION_MAX; number++) {
        if ((action.actionFlag >> number & 1) == 0)
            continue;
        const action_field &row = action_fields[number];
        print("%s{\"action\":\"%s\"", next(&first), action_name(number));
        if (row.size != 0)
            print(",\"value\":%u", action_value(&action, row));
        print("}");
    }
}

static void print_rule(const kxqos_rule_t &rule, bool *first)
{
    print("%s\n  {\"profile\":\"%s\",\"id\":%d,\"match\":[", next(first), get_qos_profile_name(rule.table_id),
          rule.rule_id);
    bool firstField = true;
    for (int field = 0; field < KXQOS_MATCH_MAX; field++)
        if (has_field(rule.fieldSel, field))
            print_field(rule, field, &firstField);
    print("],\"actions\":[");
    print_actions(rule.action);
    print("],\"hits\":%llu}", static_cast<unsigned long long>(rule.counter));
}

static void print_ip_limit(const kxqos_ip_rl_t &limit)
{
    char low[address_text_size];
    char high[address_text_size];
    if (limit.isIpv6 != 0) {
        ip62str(&limit.ip_min.ipv6Addr, low, sizeof low);
        ip62str(&limit.ip_max.ipv6Addr, high, sizeof high);
    } else {
        ip2str(limit.ip_min.ipv4Addr, low, sizeof low);
        ip2str(limit.ip_max.ipv4Addr, high, sizeof high);
    }
    print("{\"low\":\"%s\",\"high\":\"%s\",\"rate\":%u}", low, high, limit.rate);
}

static void print_number_limit(const limit_table &table, const char *kind, const char *limit)
{
    uint16_t number = 0;
    memcpy(&number, limit + offsetof(kxqos_vlan_rl_t, vid), sizeof number);
    print("{\"%s\":%d,\"rate\":%u}", kind, number, rate_of(table, limit));
}

static void print_table(const limit_table &table, const char *name)
{
    bool first = true;
    print(",\n  \"%s\":[", name);
    for (int i = 0; i < count_limits(table); i++) {
        print("%s", next(&first));
        const char *limit = limit_at(table, i);
        if (table.mode == RATELIMIT_MODE_IP)
            print_ip_limit(*reinterpret_cast<const kxqos_ip_rl_t *>(limit));
        else
            print_number_limit(table, name, limit);
    }
    print("]");
}

static void print_limits(const char *direction, const kxqos_rl_t &limits)
{
    static constexpr char modes[RATELIMIT_MODE_MAX][8] = {"disable", "ip", "vlan", "port"};
    print("\n \"%s\":{", direction);
    if (limits.mode < RATELIMIT_MODE_MAX)
        print("\"mode\":\"%s\"", modes[limits.mode]);
    else
        print("\"mode\":%d", limits.mode);
    for (int mode = first_table; mode <= last_table; mode++)
        print_table(table_of(&limits, mode), modes[mode]);
    print("}");
}

static void print_rules(const configuration &held)
{
    bool first = true;
    print(",\n\"rules\":[");
    for (const kxqos_rule_t *rule : held.rules)
        if (rule != nullptr)
            print_rule(*rule, &first);
    print("]");
}

static void print_buckets(const configuration &held)
{
    bool first = true;
    print(",\n\"buckets\":[");
    for (const kxqos_rate_bucket_t &bucket : held.buckets)
        if (bucket.bucketID != 0)
            print("%s\n  {\"id\":%d,\"rate\":%u,\"hardware\":%d,\"tokens\":%u}", next(&first), bucket.bucketID,
                  bucket_kbps(&bucket), bucket.hwBucketID, bucket.tocken);
    print("]");
}

static void print_counters(const readings &readings)
{
    bool first = true;
    print(",\n\"counters\":[");
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        const kxqos_counter_info_s &info = readings.counters[number];
        if (info.counterID != 0)
            print("%s\n  {\"id\":%d,\"packets\":%llu,\"bytes\":%llu,\"speed\":%llu}", next(&first), number,
                  static_cast<unsigned long long>(info.packets), static_cast<unsigned long long>(info.bytes),
                  static_cast<unsigned long long>(info.speed));
    }
    print("]");
}

static void print_queue_map(const kxqos_queue_map_t &map)
{
    bool first = true;
    print(",\n\"queue_map\":[");
    for (const uint8_t queue : map.prio)
        print("%s%d", next(&first), queue);
    print("]");
}

static void print_debug(uint32_t flags)
{
    bool first = true;
    print(",\n\"debug\":[");
    for (int i = 0; i < debug_categories; i++)
        if ((flags >> i & 1) != 0)
            print("%s\"%s\"", next(&first), debug_category_name(i));
    print("],\n\"debug_flags\":%u", flags);
}

static void print_all(const configuration &held, const readings &readings)
{
    print("{\"version\":\"%s\",\n\"qos\":%s,\n\"pure_dscp_remarking\":%s,\n\"fine_classification\":%s", KXQOS_VERSION,
          boolean(held.switches[switch_qos] != 0), boolean(held.switches[switch_pure_dscp] != 0),
          boolean(held.switches[switch_fine_classification] != 0));
    print_rules(held);
    print_buckets(held);
    print_counters(readings);
    print(",\n\"limits\":{");
    print_limits("up", held.limits[1]);
    print(",");
    print_limits("down", held.limits[0]);
    print("}");
    print_queue_map(readings.queueMap);
    print_debug(readings.debug);
    print("}\n");
}

int show_json()
{
    static configuration held;
    static names nothing; // no counter and no debug flag
    static readings readings;
    if (!read_gateway(&held, &nothing, nullptr) || !read_readings(&readings))
        return status_failed;
    print_to_standard_output();
    print_all(held, readings);
    return finish_standard_output() ? status_done : status_failed;
}
