#include "self_test.h"

#include "libkx.h"
#include "match_fields.h"
#include "output.h"
#include "record.h"

#include <string.h>

static const char *verdict(bool passed)
{
    return passed ? "Success" : "Fail";
}

// Tells of a call that failed, and whether it did.
static bool failed(libkx_retCode_t ret, const char *call, int id)
{
    if (ret == LIBKX_RET_OK)
        return false;
    print("Error: %s %d fail (ret=%d) \n", call, id, ret);
    return true;
}

// Counters

static bool read_counter(int counterID)
{
    uint64_t pkts = 0;
    uint64_t bytes = 0;
    uint32_t speed = 0;
    if (failed(libkx_qos_get_counter(counterID, &pkts, &bytes, &speed), "get counter", counterID))
        return false;
    print("\r step3 - get counter %d: pkts %lld, bytes %lld, speed %d \n", counterID, static_cast<long long>(pkts),
          static_cast<long long>(bytes), static_cast<int>(speed));
    return true;
}

static bool clear_counter(int counterID)
{
    if (failed(libkx_qos_clear_counter(counterID), "clear counter", counterID))
        return false;
    print("\r step4 - clear counter %d \n", counterID);
    return true;
}

static bool delete_counter(int counterID)
{
    if (failed(libkx_qos_delete_counter(counterID), "delete counter", counterID))
        return false;
    print("\r step5 - delete counter %d \n", counterID);
    return true;
}

// What follows the creation; every step is tried, whatever the one before it gave.
static bool exercise_counter(int counterID)
{
    print("\r step2 - find counter %d \n", counterID);
    const bool read = read_counter(counterID);
    const bool cleared = clear_counter(counterID);
    const bool deleted = delete_counter(counterID);
    return read && cleared && deleted;
}

static bool counter_without_number()
{
    int counterID = 0;
    const libkx_retCode_t ret = libkx_qos_create_counter(&counterID);
    if (ret != LIBKX_RET_OK) {
        print("Error: create counter fail (ret=%d) \n", ret);
        return false;
    }
    print("\r step1 - create counter %d \n", counterID);
    if (libkx_qos_is_counter_created(counterID) == 0) {
        print("Error: can not find counter %d \n", counterID);
        return false;
    }
    return exercise_counter(counterID);
}

static bool counter_with_number()
{
    int counterID = 1;
    const libkx_retCode_t ret = libkx_qos_create_counter(&counterID);
    if (failed(ret, "create counter", counterID))
        return false;
    print("\r step1 - create counter %d \n", counterID);
    if (libkx_qos_is_counter_created(counterID) == 0) {
        print("counter %d is not created \n", counterID);
        return false;
    }
    return exercise_counter(counterID);
}

// Buckets

static bool read_bucket(int bucketID, uint32_t expected)
{
    uint32_t rateLimit = 0;
    if (failed(libkx_qos_get_bucket(bucketID, &rateLimit), "get bucket", bucketID))
        return false;
    if (rateLimit != expected) {
        print("Error: bucket %d rateLimit %d is not the configured value \n", bucketID, static_cast<int>(rateLimit));
        return false;
    }
    return true;
}

static bool change_bucket(int bucketID)
{
    constexpr uint32_t rate = 1000;
    if (failed(libkx_qos_set_bucket(bucketID, rate), "set bucket", bucketID) || !read_bucket(bucketID, rate))
        return false;
    print("\r step4 - set bucket %d rateLimit %d \n", bucketID, static_cast<int>(rate));
    return true;
}

static bool delete_bucket(int bucketID)
{
    if (failed(libkx_qos_delete_bucket(bucketID), "delete bucket", bucketID))
        return false;
    print("\r step5 - delete bucket %d \n", bucketID);
    return true;
}

static bool exercise_bucket(int bucketID, const char *notFound)
{
    const libkx_retCode_t ret = libkx_qos_create_bucket(&bucketID, 0);
    if (ret != LIBKX_RET_OK) {
        print("Error: create bucket fail (ret=%d) \n", ret);
        return false;
    }
    print("\r step1 - create bucket %d \n", bucketID);
    if (libkx_qos_is_bucket_created(bucketID) == 0) {
        print_line(notFound);
        return false;
    }
    print("\r step2 - find bucket %d \n", bucketID);
    const bool unlimited = read_bucket(bucketID, 0);
    if (unlimited)
        print("\r step3 - get bucket %d rateLimit %d \n", bucketID, 0);
    const bool changed = change_bucket(bucketID);
    const bool deleted = delete_bucket(bucketID); // in any case, so that nothing is left behind
    return unlimited && changed && deleted;
}

// Rules

static void assign_queue(libkx_qos_rule_s *rule, uint16_t queue)
{
    rule->action.queue = queue;
    rule->action.actionFlag = 1U << LIBKX_QOS_ACTION_ASSIGN_QUEUE;
}

static bool one_rule()
{
    libkx_qos_rule_s qosRule;
    clear(&qosRule);
    qosRule.profile_id = KXQOS_PROFILE_QOS;
    qosRule.rule_id = 1;
    qosRule.field.tos = 3;
    qosRule.mask.tos = 5;
    memcpy(qosRule.inDev, "pon+", sizeof "pon+");
    set_field(qosRule.fieldSel, LIBKX_QOS_MATCH_TOS, true);
    set_field(qosRule.fieldSel, LIBKX_QOS_MATCH_INDEV, true);
    set_field(qosRule.fieldMode, LIBKX_QOS_MATCH_TOS, true);
    set_field(qosRule.fieldInverse, LIBKX_QOS_MATCH_TOS, true);
    set_field(qosRule.fieldInverse, LIBKX_QOS_MATCH_INDEV, true);
    assign_queue(&qosRule, 5);

    libkx_retCode_t ret = libkx_qos_add_rule(&qosRule);
    if (failed(ret, "add qos rule", qosRule.rule_id))
        return false;
    print("\r step1 - set profile %d rule %d \n", qosRule.profile_id, qosRule.rule_id);

    clear(&qosRule);
    qosRule.rule_id = 1;
    ret = libkx_qos_get_rule(&qosRule);
    const bool read = !failed(ret, "get qos rule", qosRule.rule_id);
    if (read)
        print("\r step2 - get profile %d rule %d \n", qosRule.profile_id, qosRule.rule_id);

    ret = libkx_qos_delete_rule(qosRule.profile_id, qosRule.rule_id);
    if (failed(ret, "delete qos rule", qosRule.rule_id))
        return false;
    print("\r step3 - delete profile %d rule %d \n", qosRule.profile_id, qosRule.rule_id);
    return read;
}

static constexpr uint16_t walked_rules[] = {1, 2, 32, 64};

static void add_walked_rules()
{
    libkx_qos_rule_s qosRule;
    clear(&qosRule);
    qosRule.profile_id = KXQOS_PROFILE_QOS;
    qosRule.field.srcPort = 5000;
    qosRule.mask.srcPort = 6000;
    qosRule.field.dstPort = 1024;
    memcpy(qosRule.inDev, "eth1", sizeof "eth1");
    set_field(qosRule.fieldSel, LIBKX_QOS_MATCH_L4SRCPORT, true);
    set_field(qosRule.fieldSel, LIBKX_QOS_MATCH_L4DSTPORT, true);
    set_field(qosRule.fieldSel, LIBKX_QOS_MATCH_INDEV, true);
    set_field(qosRule.fieldMode, LIBKX_QOS_MATCH_L4SRCPORT, true);
    set_field(qosRule.fieldInverse, LIBKX_QOS_MATCH_L4SRCPORT, true);
    set_field(qosRule.fieldInverse, LIBKX_QOS_MATCH_INDEV, true);
    assign_queue(&qosRule, 5);
    for (const uint16_t ruleID : walked_rules) {
        qosRule.rule_id = ruleID;
        libkx_qos_add_rule(&qosRule);
        qosRule.field.dstPort++;
    }
}

static void show_port(const libkx_qos_rule_s &rule, int field, const char *name, uint16_t first, uint16_t last)
{
    if (has_field(rule.fieldSel, field))
        print("    L4 %s %d-%d %s%s \n", name, first, last, has_field(rule.fieldInverse, field) ? " inverse" : "",
              has_field(rule.fieldMode, field) ? " range" : "");
}

static void rule_walk()
{
    add_walked_rules();
    libkx_qos_rule_s qosRule;
    clear(&qosRule);
    for (int seen = 0; seen < KXQOS_ID_LAST && libkx_qos_get_next_rule(&qosRule) == LIBKX_RET_OK; seen++) {
        print("profile %d rule %d: \n", qosRule.profile_id, qosRule.rule_id);
        show_port(qosRule, LIBKX_QOS_MATCH_L4SRCPORT, "srcPort", qosRule.field.srcPort, qosRule.mask.srcPort);
        show_port(qosRule, LIBKX_QOS_MATCH_L4DSTPORT, "dstPort", qosRule.field.dstPort, qosRule.mask.dstPort);
        if ((qosRule.action.actionFlag >> LIBKX_QOS_ACTION_ASSIGN_QUEUE & 1) != 0)
            print("    Assign Queue %d \n", qosRule.action.queue);
    }
    for (const uint16_t ruleID : walked_rules)
        libkx_qos_delete_rule(KXQOS_PROFILE_QOS, ruleID);
}

void libkx_qos_api_test_example()
{
    print_line("@@@Case 1: create counter without ID ");
    bool passed = counter_without_number();
    print("@@@Case 1: Result[%s] \n\n", verdict(passed));

    print_line("@@@Case 2: create counter with special ID ");
    passed = counter_with_number() && passed; // kept: a failure of the first case carries over
    print("@@@Case 2: Result[%s] \n\n", verdict(passed));

    // kept: two blanks after the colon from here on; the output is compared as a whole
    print_line("@@@Case 3: create rate bucket without ID ");
    print("@@@Case 3:  Result[%s] \n\n", verdict(exercise_bucket(0, "Error: create bucket fail ")));

    print_line("@@@Case 4: create rate bucket with ID ");
    print("@@@Case 4:  Result[%s] \n\n", verdict(exercise_bucket(1, "bucket is not created ")));

    print_line("@@@Case 5: qos rule testing ");
    print("@@@Case 5:  Result[%s] \n\n", verdict(one_rule()));

    print_line("@@@Case 6: qos get all rule testing ");
    rule_walk();
    print("@@@Case 6:  Result[%s] \n\n", verdict(true)); // kept: this case has no other verdict
}
