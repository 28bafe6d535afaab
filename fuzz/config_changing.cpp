// A gateway that somebody else changes while it is read. Input: one byte for what is asked; then changes, each three
// bytes: before how many more requests, what, and which. Somebody else is at work from the first request on.
#include "config_program.h"
#include "inputs.h"

#include <iterator>
#include <string.h>

static const std::vector<std::string> verbs[] = {
    {"apply", "-"}, {"apply", "--keep-going", "-"}, {"diff", "-"}, {"save", "-"}, {"show"}, {"show", "--json"},
};
static_assert(std::size(verbs) == config_verbs_of_changing);

static constexpr char file[] = "rule 5 match vid 7 action rate-bucket 3\n"
                               "rule 7 match sip 10.0.0.1~10.0.0.9 action queue 1\n"
                               "rule 7 profile hardacc action dscp 5\n"
                               "bucket 3 rate 100\n"
                               "bucket 9 rate 0\n"
                               "limit up mode vlan\n"
                               "limit up add vlan 3 rate 64\n"
                               "limit up add vlan 4 rate 64\n"
                               "limit down mode ip\n"
                               "limit down add ip 1.2.3.4~1.2.3.9 rate 10\n"
                               "qos enable\n"
                               "counter 9 enable\n"
                               "debug info on\n";

struct change {
    uint8_t distance, what, which;
};

static std::vector<change> planned;
static size_t next;
static size_t due;
static size_t lastChange; // the request before which the last one came

static void change_rule(uint8_t which)
{
    kxqos_rule_t &rule = found.module.rules[which % 16 + (which & 16) * 70];
    if (rule.rule_id != 0) {
        memset(&rule, 0, sizeof rule);
        return;
    }
    kxqos_rule_t other = {};
    other.table_id = (which & 16) != 0 ? KXQOS_PROFILE_HARDACC : KXQOS_PROFILE_QOS;
    other.rule_id = static_cast<uint16_t>(which % 16 + 1);
    other.action.actionFlag = which;
    model_request(&found.module, KXQOS_REQUEST(KXQOS_RULE_ADD), &other);
}

static void change_limits(uint8_t which)
{
    kxqos_rl_t &limits = found.module.limits[which & 1];
    kxqos_vlan_rl_t &limit = limits.vlanRule[which >> 1 & 15];
    if ((which & 0x80) != 0)
        limits.mode = which >> 1 & 3;
    else
        limit = {static_cast<uint16_t>(limit.valid == 0), which, which};
}

static void change_something(const change &change)
{
    const uint8_t which = change.which;
    switch (change.what % config_changes) {
    case 0:
        return change_rule(which);
    case 1: {
        kxqos_rate_bucket_t &bucket = found.module.buckets[which % KXQOS_BUCKET_LAST];
        bucket.bucketID = bucket.bucketID == 0 ? static_cast<uint16_t>(which % KXQOS_BUCKET_LAST + 1) : 0;
        bucket.rateLimit = which << 7;
        return;
    }
    case 2:
        return change_limits(which);
    case 3:
        found.module.qos_enabled = which;
        return;
    case 4:
        found.module.counters[which % KXQOS_COUNTER_LAST].enabled ^= 1;
        return;
    default:
        found.module.debug_flags ^= which;
        return;
    }
}

static void before(size_t at)
{
    while (next < planned.size() && at >= due) {
        change_something(planned[next++]);
        lastChange = at;
        due = at + (next < planned.size() ? planned[next].distance : 0);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    const std::vector<std::string> &words = verbs[data[0] % std::size(verbs)];
    planned.clear();
    for (size_t at = 1; at + 3 <= size; at += 3)
        planned.push_back({data[at], data[at + 1], data[at + 2]});
    next = lastChange = 0;
    due = planned.empty() ? 0 : planned[0].distance;
    model_init(&found.module);
    found.before = before;
    const ran ran = run_config(words, file);
    found.before = nullptr;
    check(ran.status != 2, "a gateway that answers is taken for none");
    // What is told as done was there when it was read once more, after the last of its own changes.
    const bool apply = words[0] == "apply";
    if (apply && ran.status == 0 && (planned.empty() || lastChange <= found.firstChange))
        check(run_config({"diff", "-"}, file).status == 0, "it is told as done, and is not there");
    if (words[0] == "save" && ran.status == 0)
        check(run_config({"check", "-"}, ran.output).status == 0, "what was saved is not right");
    return 0;
}
