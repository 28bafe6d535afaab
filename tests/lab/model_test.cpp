// What the module does for each request, and what it refuses.
#include "model.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

class Model : public ::testing::Test {
  protected:
    std::unique_ptr<model> module_ = std::make_unique<model>();

    Model()
    {
        model_init(module_.get());
    }

    template <typename Record> int send(uint32_t number, Record &record)
    {
        return model_request(module_.get(), KXQOS_REQUEST(number), &record);
    }

    int send_word(uint32_t number, uint32_t word)
    {
        return send(number, word);
    }

    uint32_t read_word(uint32_t number)
    {
        uint32_t word = 0xa5a5a5a5;
        EXPECT_EQ(send(number, word), 0);
        return word;
    }

    int add_rule(unsigned profile, unsigned rule, unsigned queue = 0)
    {
        kxqos_rule_t record = named(profile, rule);
        record.action.queue = static_cast<uint16_t>(queue);
        return send(KXQOS_RULE_ADD, record);
    }

    int send_rule(uint32_t number, unsigned profile, unsigned rule)
    {
        kxqos_rule_t record = named(profile, rule);
        return send(number, record);
    }

    // The rule ids of a profile in the order of the walk.
    std::vector<unsigned> walk(unsigned profile)
    {
        std::vector<unsigned> rules;
        kxqos_rule_t cursor = named(profile, 0);
        while (send(KXQOS_RULE_NEXT, cursor) == 0 && cursor.rule_id != 0) {
            EXPECT_EQ(cursor.table_id, profile);
            rules.push_back(cursor.rule_id);
        }
        return rules;
    }

    int set_bucket(unsigned bucket, uint32_t kbps)
    {
        kxqos_rate_bucket_t record = {static_cast<uint16_t>(bucket), 0, kbps * 128, 0};
        return send(KXQOS_BUCKET_SET, record);
    }

    kxqos_rate_bucket_t get_bucket(unsigned bucket)
    {
        kxqos_rate_bucket_t record = {static_cast<uint16_t>(bucket), 0, 0, 0};
        EXPECT_EQ(send(KXQOS_BUCKET_GET, record), 0);
        return record;
    }

    int send_bucket(uint32_t number, unsigned bucket)
    {
        kxqos_rate_bucket_t record = {static_cast<uint16_t>(bucket), 0, 0, 0};
        return send(number, record);
    }

    int send_counter(uint32_t number, int counter)
    {
        kxqos_counter_info_s record = {counter, 0, 0, 0};
        return send(number, record);
    }

    kxqos_counter_info_s get_counter(int counter)
    {
        kxqos_counter_info_s record = {counter, 1, 2, 3};
        EXPECT_EQ(send(KXQOS_COUNTER_GET, record), 0);
        return record;
    }

    std::vector<std::string> log()
    {
        std::vector<std::string> lines;
        for (uint32_t n = 0; const char *line = model_log_line(module_.get(), n); n++)
            lines.emplace_back(line);
        return lines;
    }

    static kxqos_rule_t named(unsigned profile, unsigned rule)
    {
        kxqos_rule_t record = {};
        record.table_id = static_cast<uint16_t>(profile);
        record.rule_id = static_cast<uint16_t>(rule);
        return record;
    }

    static kxqos_rl_ioctl_t half(unsigned up, unsigned mode, unsigned second)
    {
        kxqos_rl_ioctl_t record = {};
        record.upDir = static_cast<uint8_t>(up);
        record.mode = static_cast<uint8_t>(mode);
        record.secondPart = static_cast<uint8_t>(second);
        return record;
    }

    kxqos_rl_ioctl_t get_half(unsigned up, unsigned second)
    {
        kxqos_rl_ioctl_t record = half(up, 0, second);
        EXPECT_EQ(send(KXQOS_RATE_LIMIT_GET, record), 0);
        return record;
    }
};

// A state file may hold anything.

TEST_F(Model, FirstHalfThatSaysItIsAnother)
{
    kxqos_rl_ioctl_t first = half(1, RATELIMIT_MODE_VLAN, 0);
    first.portRule[0].rate = 7;
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, first), 0);
    module_->first_halves[1].secondPart = 255;
    kxqos_rl_ioctl_t second = half(1, RATELIMIT_MODE_VLAN, 1);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, second), 0);
    EXPECT_EQ(get_half(1, 0).portRule[0].rate, 7U);
}

// Requests

// The payload of each request there is, by its number.
const struct {
    uint32_t number;
    size_t size;
    bool changes;
} all_requests[] = {
    {1, 4, true},     {2, 4, false},   {3, 4, true},     {8, 12, true},   {9, 12, true},   {10, 12, false},
    {11, 12, false},  {12, 12, true},  {13, 240, true},  {14, 240, true}, {15, 240, true}, {16, 240, false},
    {17, 240, false}, {19, 612, true}, {20, 612, false}, {22, 32, true},  {25, 32, true},  {26, 32, false},
    {27, 32, true},   {28, 4, true},   {29, 4, false},   {31, 8, false},  {32, 4, true},   {33, 4, false},
    {34, 4, true},    {35, 4, false},  {36, 4, true},
};

TEST_F(Model, KnowsThePayloadOfEveryRequest)
{
    for (const auto &request : all_requests) {
        EXPECT_EQ(model_payload_size(0x40085800 + request.number), request.size) << request.number;
        EXPECT_EQ(model_changes(0x40085800 + request.number), request.changes) << request.number;
    }
}

TEST_F(Model, RefusesEveryOtherNumber)
{
    std::set<uint32_t> known;
    for (const auto &request : all_requests)
        known.insert(request.number);
    for (uint32_t number = 0; number < 256; number++) {
        if (known.contains(number))
            continue;
        EXPECT_EQ(model_payload_size(KXQOS_REQUEST(number)), 0U) << number;
        EXPECT_FALSE(model_changes(KXQOS_REQUEST(number))) << number;
        EXPECT_EQ(model_request(module_.get(), KXQOS_REQUEST(number), nullptr), -ENOTTY) << number;
    }
}

TEST_F(Model, RefusesOtherEncodings)
{
    // Another direction, size and type, and no encoding at all.
    for (uint32_t request : {0x80085802U, 0xc0085802U, 0x00085802U, 0x40045802U, 0x40085902U, 0x5802U, 2U, 0U}) {
        EXPECT_EQ(model_payload_size(request), 0U) << std::hex << request;
        EXPECT_EQ(model_request(module_.get(), request, nullptr), -ENOTTY) << std::hex << request;
    }
}

TEST_F(Model, AReadChangesNothing)
{
    ASSERT_EQ(add_rule(0, 3), 0);
    ASSERT_EQ(set_bucket(3, 64), 0);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 3), 0);
    const auto before = std::make_unique<model>(*module_);
    for (const auto &request : all_requests) {
        alignas(8) uint8_t payload[MODEL_PAYLOAD_MAX] = {};
        if (!request.changes)
            model_request(module_.get(), KXQOS_REQUEST(request.number), payload);
    }
    EXPECT_EQ(memcmp(module_.get(), before.get(), sizeof *before), 0);
}

TEST_F(Model, BeginsAsAfterLoading)
{
    ASSERT_EQ(add_rule(0, 3), 0);
    ASSERT_EQ(send_word(KXQOS_DEBUG_SHOW, 0), 0);
    model_init(module_.get());
    auto expected = std::make_unique<model>();
    expected->limits[1].upDir = 1;
    expected->fine_classify_enabled = 1;
    expected->queue_map = {{1, 0, 2, 3, 4, 5, 6, 7}};
    EXPECT_EQ(memcmp(module_.get(), expected.get(), sizeof(model)), 0);
}

// Debug flags

TEST_F(Model, KeepsAll32DebugFlags)
{
    EXPECT_EQ(read_word(KXQOS_DEBUG_GET), 0U);
    EXPECT_EQ(send_word(KXQOS_DEBUG_SET, 0xfffffe41), 0);
    EXPECT_EQ(read_word(KXQOS_DEBUG_GET), 0xfffffe41);
}

TEST_F(Model, ReportsDebugFlagsToItsLog)
{
    EXPECT_TRUE(log().empty());
    EXPECT_EQ(send_word(KXQOS_DEBUG_SHOW, 0), 0);
    EXPECT_EQ(send_word(KXQOS_DEBUG_SET, 0x1ff), 0);
    EXPECT_EQ(send_word(KXQOS_DEBUG_SHOW, 0), 0);
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "kxqos: debug flags 0x00000000",
                         "kxqos: debug flags 0x000001ff info warning error packet pre-match match action fine-classify "
                         "rate-limit",
                     }));
}

TEST_F(Model, KeepsTheLast256LinesOfItsLog)
{
    for (uint32_t i = 0; i < 300; i++) {
        send_word(KXQOS_DEBUG_SET, i << 16);
        send_word(KXQOS_DEBUG_SHOW, 0);
    }
    const std::vector<std::string> lines = log();
    ASSERT_EQ(lines.size(), 256U);
    EXPECT_EQ(lines.front(), "kxqos: debug flags 0x002c0000"); // the 45th: 300 - 256 = 44 are gone
    EXPECT_EQ(lines.back(), "kxqos: debug flags 0x012b0000");
}

// Buckets

TEST_F(Model, RoundsARateUpTo64Kbps)
{
    const uint32_t rates[][2] = {{0, 0},
                                 {1, 64},
                                 {63, 64},
                                 {64, 64},
                                 {65, 128},
                                 {100, 128},
                                 {10240, 10240},
                                 {10485697, 10485760},
                                 {10485760, 10485760}};
    for (const auto &[given, kept] : rates) {
        ASSERT_EQ(set_bucket(1, given), 0) << given;
        EXPECT_EQ(get_bucket(1).rateLimit, kept * 128) << given;
    }
    kxqos_rate_bucket_t fraction = {1, 0, 1, 0}; // a 128th of a kbps
    ASSERT_EQ(send(KXQOS_BUCKET_SET, fraction), 0);
    EXPECT_EQ(get_bucket(1).rateLimit, 64U * 128);
}

TEST_F(Model, GivesABucketItsHardwareNumbers)
{
    ASSERT_EQ(set_bucket(1, 64), 0);
    ASSERT_EQ(set_bucket(64, 64), 0);
    EXPECT_EQ(get_bucket(1).bucketID, 1);
    EXPECT_EQ(get_bucket(1).hwBucketID, 101);
    EXPECT_EQ(get_bucket(1).tocken, 1001U);
    EXPECT_EQ(get_bucket(64).bucketID, 64);
    EXPECT_EQ(get_bucket(64).hwBucketID, 164);
    EXPECT_EQ(get_bucket(64).tocken, 1064U);
}

TEST_F(Model, RefusesBadBuckets)
{
    for (unsigned bucket : {0U, 65U, 65535U}) {
        EXPECT_EQ(set_bucket(bucket, 64), -EINVAL) << bucket;
        EXPECT_EQ(send_bucket(KXQOS_BUCKET_DELETE, bucket), -EINVAL) << bucket;
        EXPECT_EQ(send_bucket(KXQOS_BUCKET_GET, bucket), -EINVAL) << bucket;
    }
    EXPECT_EQ(set_bucket(1, 10485761), -EINVAL);
    EXPECT_EQ(send_bucket(KXQOS_BUCKET_GET, 1), -ENOENT);
    EXPECT_EQ(send_bucket(KXQOS_BUCKET_DELETE, 1), -ENOENT);
}

TEST_F(Model, DeletesABucket)
{
    ASSERT_EQ(set_bucket(7, 64), 0);
    EXPECT_EQ(send_bucket(KXQOS_BUCKET_DELETE, 7), 0);
    EXPECT_EQ(send_bucket(KXQOS_BUCKET_GET, 7), -ENOENT);
    EXPECT_EQ(send_bucket(KXQOS_BUCKET_DELETE, 7), -ENOENT);
}

TEST_F(Model, WalksBucketsInOrder)
{
    for (unsigned bucket : {64U, 2U, 33U, 1U})
        ASSERT_EQ(set_bucket(bucket, bucket * 64), 0);
    kxqos_rate_bucket_t cursor = {};
    for (unsigned bucket : {1U, 2U, 33U, 64U}) {
        ASSERT_EQ(send(KXQOS_BUCKET_NEXT, cursor), 0);
        EXPECT_EQ(cursor.bucketID, bucket);
        EXPECT_EQ(cursor.rateLimit, bucket * 64 * 128);
        EXPECT_EQ(cursor.hwBucketID, 100 + bucket);
    }
    EXPECT_EQ(send(KXQOS_BUCKET_NEXT, cursor), 0);
    const kxqos_rate_bucket_t nothing = {};
    EXPECT_EQ(memcmp(&cursor, &nothing, sizeof cursor), 0);
    cursor.bucketID = 65535;
    EXPECT_EQ(send(KXQOS_BUCKET_NEXT, cursor), 0);
    EXPECT_EQ(cursor.bucketID, 0);
}

TEST_F(Model, ReportsBucketsToItsLog)
{
    ASSERT_EQ(send_bucket(KXQOS_BUCKET_SHOW, 0), 0);
    ASSERT_EQ(set_bucket(3, 100), 0);
    ASSERT_EQ(set_bucket(1, 0), 0);
    ASSERT_EQ(send_bucket(KXQOS_BUCKET_SHOW, 999), 0); // what is sent is not read
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "kxqos: no bucket is configured",
                         "kxqos: bucket 1: rate 0 kbps, hwBucketID 101, tocken 1001",
                         "kxqos: bucket 3: rate 128 kbps, hwBucketID 103, tocken 1003",
                     }));
}

// Rules

// Written by hand, because the model takes its own from the header.
const unsigned highest_rules[] = {64, 512, 512, 64, 64};

TEST_F(Model, ReturnsARuleAsItWasSent)
{
    kxqos_rule_t sent = {};
    memset(&sent, 0x5a, sizeof sent);
    sent.table_id = 2;
    sent.rule_id = 77;
    kxqos_rule_t payload = sent;
    ASSERT_EQ(send(KXQOS_RULE_ADD, payload), 0);
    EXPECT_EQ(memcmp(&payload, &sent, sizeof sent), 0);

    kxqos_rule_t read = named(2, 77);
    ASSERT_EQ(send(KXQOS_RULE_GET, read), 0);
    sent.counter = 0; // the module's own
    EXPECT_EQ(memcmp(&read, &sent, sizeof sent), 0);
}

TEST_F(Model, ReplacesARule)
{
    ASSERT_EQ(add_rule(0, 5, 1), 0);
    ASSERT_EQ(add_rule(0, 5, 2), 0);
    kxqos_rule_t rule = named(0, 5);
    ASSERT_EQ(send(KXQOS_RULE_GET, rule), 0);
    EXPECT_EQ(rule.action.queue, 2);
    EXPECT_EQ(walk(0), std::vector<unsigned>{5});
}

TEST_F(Model, BoundsTheRulesOfEachProfile)
{
    for (unsigned profile = 0; profile < 5; profile++) {
        EXPECT_EQ(model_rule_limit(profile), highest_rules[profile]);
        for (uint32_t number : {KXQOS_RULE_ADD, KXQOS_RULE_DELETE, KXQOS_RULE_GET}) {
            EXPECT_EQ(send_rule(number, profile, 0), -EINVAL) << number;
            EXPECT_EQ(send_rule(number, profile, highest_rules[profile] + 1), -EINVAL) << number;
            EXPECT_EQ(send_rule(number, profile, 65535), -EINVAL) << number;
        }
        EXPECT_EQ(add_rule(profile, 1), 0);
        EXPECT_EQ(add_rule(profile, highest_rules[profile]), 0);
    }
    EXPECT_EQ(model_rule_limit(5), 0U);
}

TEST_F(Model, HasAPlaceForEachRule)
{
    EXPECT_EQ(model_rule(module_.get(), 0, 1), &module_->rules[0]);
    EXPECT_EQ(model_rule(module_.get(), 0, 64), &module_->rules[63]);
    EXPECT_EQ(model_rule(module_.get(), 1, 1), &module_->rules[64]);
    EXPECT_EQ(model_rule(module_.get(), 4, 64), &module_->rules[1215]);
    EXPECT_EQ(model_rule(module_.get(), 4, 65), nullptr);
    EXPECT_EQ(model_rule(module_.get(), 4, 0), nullptr);
    EXPECT_EQ(model_rule(module_.get(), 5, 1), nullptr);
}

TEST_F(Model, RefusesOtherProfiles)
{
    for (unsigned profile : {5U, 6U, 65535U}) {
        for (uint32_t number : {KXQOS_RULE_ADD, KXQOS_RULE_DELETE, KXQOS_RULE_RESET, KXQOS_RULE_GET, KXQOS_RULE_NEXT})
            EXPECT_EQ(send_rule(number, profile, 1), -EINVAL) << number;
    }
}

TEST_F(Model, FindsNoRuleThatIsNotThere)
{
    EXPECT_EQ(send_rule(KXQOS_RULE_GET, 1, 9), -ENOENT);
    EXPECT_EQ(send_rule(KXQOS_RULE_DELETE, 1, 9), -ENOENT);
    ASSERT_EQ(add_rule(1, 9), 0);
    EXPECT_EQ(send_rule(KXQOS_RULE_GET, 2, 9), -ENOENT); // another profile's
    EXPECT_EQ(send_rule(KXQOS_RULE_DELETE, 1, 9), 0);
    EXPECT_EQ(send_rule(KXQOS_RULE_GET, 1, 9), -ENOENT);
}

TEST_F(Model, WalksTheRulesOfOneProfileInOrder)
{
    for (unsigned rule : {512U, 2U, 200U, 1U})
        ASSERT_EQ(add_rule(1, rule), 0);
    ASSERT_EQ(add_rule(0, 64), 0);
    ASSERT_EQ(add_rule(2, 1), 0);
    EXPECT_EQ(walk(1), (std::vector<unsigned>{1, 2, 200, 512}));
    EXPECT_EQ(walk(0), std::vector<unsigned>{64});
    EXPECT_EQ(walk(4), std::vector<unsigned>{});
}

TEST_F(Model, EndsAWalkWithAnEmptyRecord)
{
    kxqos_rule_t cursor = {};
    memset(&cursor, 0xff, sizeof cursor);
    cursor.table_id = 3;
    EXPECT_EQ(send(KXQOS_RULE_NEXT, cursor), 0);
    const kxqos_rule_t end = named(3, 0);
    EXPECT_EQ(memcmp(&cursor, &end, sizeof end), 0);
}

TEST_F(Model, HoldsEveryRuleOfEveryProfile)
{
    for (unsigned profile = 0; profile < 5; profile++) {
        for (unsigned rule = 1; rule <= highest_rules[profile]; rule++)
            ASSERT_EQ(add_rule(profile, rule, rule), 0);
    }
    for (unsigned profile = 0; profile < 5; profile++) {
        EXPECT_EQ(walk(profile).size(), highest_rules[profile]);
        kxqos_rule_t last = named(profile, highest_rules[profile]);
        ASSERT_EQ(send(KXQOS_RULE_GET, last), 0);
        EXPECT_EQ(last.action.queue, highest_rules[profile]);
    }
}

TEST_F(Model, ResetsOneProfile)
{
    for (unsigned profile = 0; profile < 5; profile++) {
        ASSERT_EQ(add_rule(profile, 1), 0);
        ASSERT_EQ(add_rule(profile, highest_rules[profile]), 0);
    }
    EXPECT_EQ(send_rule(KXQOS_RULE_RESET, 1, 7), 0); // the rule id does not count
    EXPECT_EQ(send_rule(KXQOS_RULE_RESET, 1, 0), 0); // empty already
    for (unsigned profile = 0; profile < 5; profile++)
        EXPECT_EQ(walk(profile).size(), profile == 1 ? 0U : 2U) << profile;
}

// Rate limits

TEST_F(Model, BeginsWithoutRateLimits)
{
    for (unsigned up : {0U, 1U}) {
        for (unsigned second : {0U, 1U}) {
            const kxqos_rl_ioctl_t read = get_half(up, second);
            const kxqos_rl_ioctl_t expected = half(up, RATELIMIT_MODE_DISABLE, second);
            EXPECT_EQ(memcmp(&read, &expected, sizeof read), 0);
        }
    }
}

TEST_F(Model, PutsTwoHalvesInForce)
{
    kxqos_rl_ioctl_t first = half(1, RATELIMIT_MODE_VLAN, 0);
    memset(first.ipRule, 0x11, sizeof first.ipRule);
    memset(first.vlanRule, 0x12, sizeof first.vlanRule);
    memset(first.portRule, 0x13, sizeof first.portRule);
    kxqos_rl_ioctl_t second = half(1, RATELIMIT_MODE_VLAN, 1);
    memset(second.ipRule, 0x21, sizeof second.ipRule);
    memset(second.vlanRule, 0x22, sizeof second.vlanRule);
    memset(second.portRule, 0x23, sizeof second.portRule);

    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, first), 0);
    EXPECT_EQ(get_half(1, 0).mode, RATELIMIT_MODE_DISABLE); // a first half alone is not in force
    EXPECT_EQ(get_half(1, 0).ipRule[0].rate, 0U);
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, second), 0);

    const kxqos_rl_ioctl_t read_first = get_half(1, 0);
    const kxqos_rl_ioctl_t read_second = get_half(1, 1);
    EXPECT_EQ(memcmp(&read_first, &first, sizeof first), 0);
    EXPECT_EQ(memcmp(&read_second, &second, sizeof second), 0);
    EXPECT_EQ(get_half(0, 0).mode, RATELIMIT_MODE_DISABLE); // the other direction
    EXPECT_EQ(get_half(0, 1).portRule[7].rate, 0U);
}

TEST_F(Model, CombinesASecondHalfWithTheLastFirstHalf)
{
    kxqos_rl_ioctl_t second = half(0, RATELIMIT_MODE_PORT, 1);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, second), -EINVAL); // no first half ever came
    kxqos_rl_ioctl_t first = half(0, RATELIMIT_MODE_IP, 0);
    first.portRule[0] = {1, 4, 100};
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, first), 0);
    first.portRule[0].rate = 200;
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, first), 0);
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, second), 0);
    EXPECT_EQ(get_half(0, 0).portRule[0].rate, 200U);
    EXPECT_EQ(get_half(0, 0).mode, RATELIMIT_MODE_PORT);
    first.reserved = 9; // not looked at, and returned as 0
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_GET, first), 0);
    EXPECT_EQ(first.reserved, 0);
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, second), 0); // the later of two transfers that overlap
    EXPECT_EQ(get_half(0, 0).portRule[0].rate, 200U);
}

TEST_F(Model, RefusesBadRateLimits)
{
    kxqos_rl_ioctl_t direction = half(2, 0, 0);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, direction), -EINVAL);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_GET, direction), -EINVAL);
    kxqos_rl_ioctl_t first = half(0, 0, 0);
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, first), 0);
    kxqos_rl_ioctl_t part = half(0, 0, 2);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, part), -EINVAL);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_GET, part), -EINVAL);
    kxqos_rl_ioctl_t mode = half(0, RATELIMIT_MODE_MAX, 0);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_SET, mode), -EINVAL);
    EXPECT_EQ(send(KXQOS_RATE_LIMIT_GET, mode), 0); // the mode is an answer here
    EXPECT_EQ(mode.mode, RATELIMIT_MODE_DISABLE);
}

// Counters

TEST_F(Model, CountsOnlyWhileEnabled)
{
    model_offer(module_.get(), 5);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 9), 0);
    model_offer(module_.get(), 10);
    kxqos_counter_info_s counter = get_counter(9);
    EXPECT_EQ(counter.counterID, 9);
    EXPECT_EQ(counter.packets, 10U);
    EXPECT_EQ(counter.bytes, 10000U);
    EXPECT_EQ(counter.speed, 80U);

    model_offer(module_.get(), 3);
    counter = get_counter(9);
    EXPECT_EQ(counter.packets, 13U);
    EXPECT_EQ(counter.bytes, 13000U);
    EXPECT_EQ(counter.speed, 24U); // of the last offer

    ASSERT_EQ(send_counter(KXQOS_COUNTER_DISABLE, 9), 0);
    model_offer(module_.get(), 100);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 9), 0);
    EXPECT_EQ(get_counter(9).packets, 13U);
}

TEST_F(Model, ReturnsZerosForACounterNotInUse)
{
    const kxqos_counter_info_s counter = get_counter(9);
    EXPECT_EQ(counter.counterID, 0);
    EXPECT_EQ(counter.packets, 0U);
    EXPECT_EQ(counter.bytes, 0U);
    EXPECT_EQ(counter.speed, 0U);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 9), 0);
    model_offer(module_.get(), 10);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_DISABLE, 9), 0);
    EXPECT_EQ(get_counter(9).counterID, 0);
    EXPECT_EQ(get_counter(9).packets, 0U);
}

TEST_F(Model, ClearsACounter)
{
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 222), 0);
    ASSERT_EQ(send_counter(KXQOS_COUNTER_ENABLE, 1), 0);
    model_offer(module_.get(), 10);
    EXPECT_EQ(send_counter(KXQOS_COUNTER_CLEAR, 222), 0);
    EXPECT_EQ(send_counter(KXQOS_COUNTER_CLEAR, 100), 0); // one that is not in use
    EXPECT_EQ(get_counter(222).counterID, 222);
    EXPECT_EQ(get_counter(222).packets, 0U);
    EXPECT_EQ(get_counter(222).speed, 0U);
    EXPECT_EQ(get_counter(1).packets, 10U);
}

TEST_F(Model, RefusesOtherCounters)
{
    for (int counter : {0, -1, 223, 2147483647}) {
        for (uint32_t number : {KXQOS_COUNTER_ENABLE, KXQOS_COUNTER_DISABLE, KXQOS_COUNTER_GET, KXQOS_COUNTER_CLEAR})
            EXPECT_EQ(send_counter(number, counter), -EINVAL) << number << " " << counter;
    }
}

// Switches and queues

TEST_F(Model, KeepsItsSwitches)
{
    const struct {
        uint32_t set, get, begins;
    } switches[] = {{KXQOS_STATE_SET, KXQOS_STATE_GET, 0},
                    {KXQOS_PURE_DSCP_SET, KXQOS_PURE_DSCP_GET, 0},
                    {KXQOS_FINE_CLASSIFY_SET, KXQOS_FINE_CLASSIFY_GET, 1}};
    for (const auto &[set, get, begins] : switches) {
        EXPECT_EQ(read_word(get), begins) << set;
        EXPECT_EQ(send_word(set, 1 - begins), 0);
        EXPECT_EQ(read_word(get), 1 - begins) << set;
        for (const auto &other : switches)
            EXPECT_EQ(read_word(other.get), other.set == set ? 1 - begins : other.begins) << set << " " << other.set;
        EXPECT_EQ(send_word(set, 2), -EINVAL);
        EXPECT_EQ(send_word(set, 0xffffffff), -EINVAL);
        EXPECT_EQ(read_word(get), 1 - begins) << set;
        EXPECT_EQ(send_word(set, begins), 0);
    }
}

TEST_F(Model, SuppressesTheRefresh)
{
    EXPECT_EQ(module_->refresh_suppressed, 0U);
    EXPECT_EQ(send_word(KXQOS_REFRESH_SET, 1), 0);
    EXPECT_EQ(module_->refresh_suppressed, 1U);
    EXPECT_EQ(send_word(KXQOS_REFRESH_SET, 0), 0);
    EXPECT_EQ(module_->refresh_suppressed, 0U);
    EXPECT_EQ(send_word(KXQOS_REFRESH_SET, 2), -EINVAL);
}

TEST_F(Model, TellsTheQueuesOfThePriorities)
{
    kxqos_queue_map_t map = {};
    ASSERT_EQ(send(KXQOS_QUEUE_MAP_GET, map), 0);
    const uint8_t expected[] = {1, 0, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(memcmp(map.prio, expected, sizeof expected), 0);
}

TEST_F(Model, LeavesARefusedPayloadAlone)
{
    const struct {
        uint32_t number;
        uint8_t fill;
    } refused[] = {{KXQOS_BUCKET_SET, 0xff},     {KXQOS_BUCKET_GET, 0xff},  {KXQOS_RULE_ADD, 0xff},
                   {KXQOS_RULE_GET, 0xff},       {KXQOS_RULE_NEXT, 0xff},   {KXQOS_RATE_LIMIT_SET, 0xff},
                   {KXQOS_RATE_LIMIT_GET, 0xff}, {KXQOS_COUNTER_GET, 0xff}, {KXQOS_STATE_SET, 0xff}};
    for (const auto &[number, fill] : refused) {
        alignas(8) uint8_t payload[MODEL_PAYLOAD_MAX];
        memset(payload, fill, sizeof payload);
        EXPECT_EQ(model_request(module_.get(), KXQOS_REQUEST(number), payload), -EINVAL) << number;
        for (uint8_t byte : payload)
            ASSERT_EQ(byte, fill) << number;
    }
}

} // namespace
