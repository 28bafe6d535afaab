// What the library and the switch behind it keep.
#include "library.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

class Library : public ::testing::Test {
  protected:
    std::unique_ptr<library> library_ = std::make_unique<library>();

    Library()
    {
        library_init(library_.get());
    }

    libkx_retCode_t set_vlan(uint32_t vlan, uint32_t direction, uint32_t enable, uint32_t rate)
    {
        return library_set_limit(library_.get(), limit(LIBRARY_VLAN, vlan, vlan, direction, rate).get(), enable);
    }

    static std::unique_ptr<library_limit> limit(uint32_t kind, uint32_t min, uint32_t max, uint32_t direction,
                                                uint32_t rate)
    {
        auto made = std::make_unique<library_limit>();
        made->kind = kind;
        made->direction = direction;
        made->min.ipv4Addr = min;
        made->max.ipv4Addr = max;
        made->rate = rate;
        return made;
    }

    // The rates that are installed.
    std::vector<uint32_t> rates() const
    {
        std::vector<uint32_t> found;
        for (const library_limit &place : library_->limits) {
            if (place.kind != LIBRARY_NO_LIMIT)
                found.push_back(place.rate);
        }
        return found;
    }

    libkx_retCode_t add_rule(unsigned profile, unsigned rule, unsigned queue = 0)
    {
        libkx_qos_rule_s record = {};
        record.profile_id = static_cast<uint16_t>(profile);
        record.rule_id = static_cast<uint16_t>(rule);
        record.action.queue = static_cast<uint16_t>(queue);
        return library_add_rule(library_.get(), &record);
    }

    libkx_retCode_t add_host(int host, int *bucket, int *counter)
    {
        library_host wanted = {};
        memcpy(wanted.mac, mac, sizeof mac);
        wanted.up_limit = 100;
        wanted.down_limit = 200;
        return library_host_add(library_.get(), host, &wanted, bucket, counter);
    }

    static constexpr unsigned char mac[6] = {0, 0x11, 0x22, 0x33, 0x44, 0x55};
    static constexpr unsigned char other_mac[6] = {0, 0x11, 0x22, 0x33, 0x44, 0x56};
};

TEST_F(Library, BeginsEmpty)
{
    const auto empty = std::make_unique<library>();
    memset(library_.get(), 0xff, sizeof *library_);
    library_init(library_.get());
    EXPECT_EQ(memcmp(library_.get(), empty.get(), sizeof *empty), 0);
}

// Limits

TEST_F(Library, InstallsAndRemovesLimits)
{
    EXPECT_EQ(set_vlan(100, 1, 1, 2048), LIBKX_RET_OK);
    EXPECT_EQ(set_vlan(100, 0, 1, 1024), LIBKX_RET_OK); // another direction is another limit
    EXPECT_EQ(set_vlan(101, 1, 1, 512), LIBKX_RET_OK);
    EXPECT_EQ(rates(), (std::vector<uint32_t>{2048, 1024, 512}));
    EXPECT_EQ(set_vlan(100, 1, 1, 4096), LIBKX_RET_OK); // again: the new rate
    EXPECT_EQ(rates(), (std::vector<uint32_t>{4096, 1024, 512}));
    EXPECT_EQ(set_vlan(100, 1, 0, 1), LIBKX_RET_OK); // removed whatever the rate
    EXPECT_EQ(rates(), (std::vector<uint32_t>{1024, 512}));
    EXPECT_EQ(set_vlan(100, 1, 0, 1), LIBKX_RET_OK); // not there any more
    EXPECT_EQ(rates(), (std::vector<uint32_t>{1024, 512}));
}

TEST_F(Library, FindsALimitBehindAFreePlace)
{
    ASSERT_EQ(set_vlan(1, 0, 1, 10), LIBKX_RET_OK);
    ASSERT_EQ(set_vlan(2, 0, 1, 20), LIBKX_RET_OK);
    ASSERT_EQ(set_vlan(1, 0, 0, 10), LIBKX_RET_OK);
    ASSERT_EQ(set_vlan(2, 0, 1, 30), LIBKX_RET_OK);
    EXPECT_EQ(rates(), std::vector<uint32_t>{30});
}

TEST_F(Library, TellsKindsAndRangesApart)
{
    for (uint32_t kind : {LIBRARY_IPV4, LIBRARY_IPV6, LIBRARY_VLAN, LIBRARY_PORT})
        ASSERT_EQ(library_set_limit(library_.get(), limit(kind, 5, 5, 0, kind).get(), 1), LIBKX_RET_OK);
    ASSERT_EQ(library_set_limit(library_.get(), limit(LIBRARY_IPV4, 5, 6, 0, 9).get(), 1), LIBKX_RET_OK);
    EXPECT_EQ(rates(), (std::vector<uint32_t>{1, 2, 3, 4, 9}));
}

TEST_F(Library, RefusesBadLimits)
{
    EXPECT_EQ(set_vlan(1, 2, 1, 1), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(set_vlan(1, 0, 2, 1), LIBKX_RET_INVALID_PARAMETER);
    for (uint32_t vlan = 1; vlan <= 128; vlan++)
        ASSERT_EQ(set_vlan(vlan, 0, 1, 1), LIBKX_RET_OK);
    EXPECT_EQ(set_vlan(129, 0, 1, 1), LIBKX_RET_MEM_ALLOCATE_FAIL);
    EXPECT_EQ(set_vlan(128, 0, 1, 2), LIBKX_RET_OK); // there already
    EXPECT_EQ(set_vlan(129, 0, 0, 1), LIBKX_RET_OK);
    EXPECT_EQ(rates().size(), 128U);
}

// Flows

TEST_F(Library, CountsFlows)
{
    library_traffic traffic = {};
    ASSERT_EQ(library_flow_get(library_.get(), 7, 256, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 0U);
    EXPECT_EQ(traffic.down_speed, 0U);
    library_offer(library_.get(), 10);
    ASSERT_EQ(library_flow_get(library_.get(), 7, 256, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 10U);
    EXPECT_EQ(traffic.up_bytes, 10000U);
    EXPECT_EQ(traffic.up_speed, 80U);
    EXPECT_EQ(traffic.down_packets, 20U);
    EXPECT_EQ(traffic.down_bytes, 20000U);
    EXPECT_EQ(traffic.down_speed, 160U);
    ASSERT_EQ(library_flow_clear(library_.get(), 7, 256), LIBKX_RET_OK);
    ASSERT_EQ(library_flow_get(library_.get(), 7, 256, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 0U);
    EXPECT_EQ(traffic.up_speed, 0U);
    ASSERT_EQ(library_flow_get(library_.get(), 7, 255, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 10U); // another counter
    ASSERT_EQ(library_flow_get(library_.get(), 0, 0, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 10U); // another flow
}

TEST_F(Library, RefusesOtherFlows)
{
    library_traffic traffic = {};
    const int bad[][2] = {{-1, 0}, {8, 0}, {0, -1}, {0, 257}};
    for (const auto &[flow, counter] : bad) {
        EXPECT_EQ(library_flow_get(library_.get(), flow, counter, &traffic), LIBKX_RET_INVALID_PARAMETER);
        EXPECT_EQ(library_flow_clear(library_.get(), flow, counter), LIBKX_RET_INVALID_PARAMETER);
    }
}

// Hosts

TEST_F(Library, GivesAHostTheLowestFreeNumbers)
{
    int taken = 1;
    ASSERT_EQ(library_create_bucket(library_.get(), &taken, 5), LIBKX_RET_OK);
    int bucket = 0;
    int counter = 0;
    ASSERT_EQ(add_host(256, &bucket, &counter), LIBKX_RET_OK);
    EXPECT_EQ(bucket, 2);
    EXPECT_EQ(counter, 1);
    EXPECT_TRUE(library_has_bucket(library_.get(), 2));
    EXPECT_TRUE(library_has_counter(library_.get(), 1));
}

TEST_F(Library, GivesAHostTheNumbersItAsksFor)
{
    int bucket = 64;
    int counter = 222;
    ASSERT_EQ(add_host(1, &bucket, &counter), LIBKX_RET_OK);
    EXPECT_EQ(bucket, 64);
    EXPECT_EQ(counter, 222);
    bucket = 64;
    counter = 7;
    EXPECT_EQ(add_host(2, &bucket, &counter), LIBKX_RET_INVALID_PARAMETER); // the bucket is taken
    EXPECT_FALSE(library_has_counter(library_.get(), 7));
    bucket = 7;
    counter = 222;
    EXPECT_EQ(add_host(2, &bucket, &counter), LIBKX_RET_INVALID_PARAMETER); // the counter is taken
    EXPECT_FALSE(library_has_bucket(library_.get(), 7));
    bucket = 256;
    counter = 256;
    EXPECT_EQ(add_host(2, &bucket, &counter), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(bucket, 256); // as it stood
}

TEST_F(Library, CountsHosts)
{
    int bucket = 0;
    int counter = 0;
    library_traffic traffic = {};
    library_offer(library_.get(), 1);
    ASSERT_EQ(add_host(1, &bucket, &counter), LIBKX_RET_OK);
    library_offer(library_.get(), 4);
    ASSERT_EQ(library_host_get(library_.get(), 1, counter, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 4U);
    EXPECT_EQ(traffic.down_packets, 8U);
    EXPECT_EQ(library_host_get(library_.get(), 1, counter + 1, &traffic), LIBKX_RET_INVALID_PARAMETER);
    int others = 0; // a counter of the library's, but not of this host's
    ASSERT_EQ(library_create_counter(library_.get(), &others), LIBKX_RET_OK);
    EXPECT_EQ(library_host_get(library_.get(), 1, others, &traffic), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_clear(library_.get(), 1, others), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_get(library_.get(), 2, counter, &traffic), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_clear(library_.get(), 2, counter), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_clear(library_.get(), 1, counter + 1), LIBKX_RET_INVALID_PARAMETER);
    ASSERT_EQ(library_host_clear(library_.get(), 1, counter), LIBKX_RET_OK);
    ASSERT_EQ(library_host_get(library_.get(), 1, counter, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 0U);
}

TEST_F(Library, DeletesAHostByNumberAndMac)
{
    int bucket = 0;
    int counter = 0;
    ASSERT_EQ(add_host(1, &bucket, &counter), LIBKX_RET_OK);
    EXPECT_EQ(library_host_delete(library_.get(), 1, other_mac), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_delete(library_.get(), 2, mac), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_host_delete(library_.get(), 1, mac), LIBKX_RET_OK);
    EXPECT_FALSE(library_has_bucket(library_.get(), bucket));
    EXPECT_FALSE(library_has_counter(library_.get(), counter));
    EXPECT_EQ(library_host_delete(library_.get(), 1, mac), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(add_host(1, &bucket, &counter), LIBKX_RET_OK); // its place is free again
    int last_bucket = 0;
    int last_counter = 0;
    ASSERT_EQ(add_host(256, &last_bucket, &last_counter), LIBKX_RET_OK);
    EXPECT_EQ(library_host_delete(library_.get(), 256, mac), LIBKX_RET_OK);
}

TEST_F(Library, RefusesBadHosts)
{
    for (int host : {0, -1, 257}) {
        int bucket = 0;
        int counter = 0;
        EXPECT_EQ(add_host(host, &bucket, &counter), LIBKX_RET_INVALID_PARAMETER) << host;
    }
    int bucket = 0;
    int counter = 0;
    ASSERT_EQ(add_host(5, &bucket, &counter), LIBKX_RET_OK);
    bucket = counter = 0;
    EXPECT_EQ(add_host(5, &bucket, &counter), LIBKX_RET_INVALID_PARAMETER); // there already
    EXPECT_EQ(bucket, 0);
    EXPECT_FALSE(library_has_bucket(library_.get(), 2));
}

// WAN interfaces

TEST_F(Library, CountsWanInterfaces)
{
    library_traffic traffic = {};
    library_offer(library_.get(), 3);
    ASSERT_EQ(library_wan_get(library_.get(), "eth0", &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 3U);
    EXPECT_EQ(traffic.up_bytes, 3000U);
    EXPECT_EQ(traffic.down_packets, 6U);
    EXPECT_EQ(traffic.down_bytes, 6000U);
}

TEST_F(Library, LimitsWanInterfaces)
{
    EXPECT_EQ(library_wan_set_limit(library_.get(), "abcdefghijklmnop", 10, 0), LIBKX_RET_OK); // 16 characters
    EXPECT_STREQ(library_->wans[0].name, "abcdefghijklmnop");
    EXPECT_EQ(library_->wans[0].up_limit, 10U);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "w", 5, 6), LIBKX_RET_OK); // 1 character
    EXPECT_EQ(library_wan_set_limit(library_.get(), "v", 7, 8), LIBKX_RET_OK);
    EXPECT_STREQ(library_->wans[1].name, "w");
    EXPECT_STREQ(library_->wans[2].name, "v");
    EXPECT_EQ(library_wan_set_limit(library_.get(), "w", 0, 0), LIBKX_RET_OK);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth0", 1, 2), LIBKX_RET_OK);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth0", 3, 4), LIBKX_RET_OK);
    EXPECT_EQ(library_->wans[1].up_limit, 3U);
    EXPECT_EQ(library_->wans[1].down_limit, 4U);
    EXPECT_EQ(library_->wans[3].name[0], '\0');
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth0", 0, 0), LIBKX_RET_OK);
    EXPECT_EQ(library_->wans[1].name[0], '\0');
}

TEST_F(Library, RefusesBadWanInterfaces)
{
    library_traffic traffic = {};
    for (const char *name : {"", "abcdefghijklmnopq"}) {
        EXPECT_EQ(library_wan_get(library_.get(), name, &traffic), LIBKX_RET_INVALID_PARAMETER) << name;
        EXPECT_EQ(library_wan_set_limit(library_.get(), name, 1, 1), LIBKX_RET_INVALID_PARAMETER) << name;
    }
    for (int i = 0; i < 16; i++)
        ASSERT_EQ(library_wan_set_limit(library_.get(), ("eth" + std::to_string(i)).c_str(), 1, 1), LIBKX_RET_OK);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth16", 1, 1), LIBKX_RET_MEM_ALLOCATE_FAIL);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth16", 0, 0), LIBKX_RET_OK);
    EXPECT_EQ(library_wan_set_limit(library_.get(), "eth15", 2, 2), LIBKX_RET_OK);
}

// Counters

TEST_F(Library, CreatesCounters)
{
    int counter = 2;
    ASSERT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_OK);
    EXPECT_EQ(counter, 2);
    EXPECT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_INVALID_PARAMETER); // there already
    for (int expected : {1, 3}) {
        counter = 0;
        ASSERT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_OK);
        EXPECT_EQ(counter, expected); // the lowest free one
    }
    for (int bad : {-1, 223}) {
        counter = bad;
        EXPECT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_INVALID_PARAMETER);
    }
    for (int i = 4; i <= 222; i++) {
        counter = 0;
        ASSERT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_OK);
    }
    counter = 0;
    EXPECT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_MEM_ALLOCATE_FAIL);
    EXPECT_EQ(counter, 0);
}

TEST_F(Library, CountsFromTheCreationOn)
{
    library_traffic traffic = {};
    int counter = 0;
    library_offer(library_.get(), 100);
    ASSERT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_OK);
    library_offer(library_.get(), 2);
    ASSERT_EQ(library_get_counter(library_.get(), counter, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 2U);
    EXPECT_EQ(traffic.up_bytes, 2000U);
    EXPECT_EQ(traffic.up_speed, 16U);
    ASSERT_EQ(library_clear_counter(library_.get(), counter), LIBKX_RET_OK);
    ASSERT_EQ(library_get_counter(library_.get(), counter, &traffic), LIBKX_RET_OK);
    EXPECT_EQ(traffic.up_packets, 0U);
}

TEST_F(Library, RefusesCountersThatAreNotThere)
{
    library_traffic traffic = {};
    for (int counter : {-1, 0, 1, 222, 223}) {
        EXPECT_FALSE(library_has_counter(library_.get(), counter)) << counter;
        EXPECT_EQ(library_get_counter(library_.get(), counter, &traffic), LIBKX_RET_INVALID_PARAMETER) << counter;
        EXPECT_EQ(library_clear_counter(library_.get(), counter), LIBKX_RET_INVALID_PARAMETER) << counter;
        EXPECT_EQ(library_delete_counter(library_.get(), counter), LIBKX_RET_INVALID_PARAMETER) << counter;
    }
    int counter = 222;
    ASSERT_EQ(library_create_counter(library_.get(), &counter), LIBKX_RET_OK);
    EXPECT_TRUE(library_has_counter(library_.get(), 222));
    EXPECT_EQ(library_delete_counter(library_.get(), 222), LIBKX_RET_OK);
    EXPECT_FALSE(library_has_counter(library_.get(), 222));
}

// Buckets

TEST_F(Library, CreatesBuckets)
{
    int bucket = 64;
    ASSERT_EQ(library_create_bucket(library_.get(), &bucket, 1000), LIBKX_RET_OK);
    EXPECT_EQ(library_create_bucket(library_.get(), &bucket, 1), LIBKX_RET_INVALID_PARAMETER);
    for (int expected = 1; expected < 64; expected++) {
        bucket = 0;
        ASSERT_EQ(library_create_bucket(library_.get(), &bucket, 0), LIBKX_RET_OK);
        EXPECT_EQ(bucket, expected);
    }
    uint32_t rate = 0;
    ASSERT_EQ(library_get_bucket(library_.get(), 64, &rate), LIBKX_RET_OK);
    EXPECT_EQ(rate, 1000U);
    bucket = 0;
    EXPECT_EQ(library_create_bucket(library_.get(), &bucket, 0), LIBKX_RET_MEM_ALLOCATE_FAIL);
    ASSERT_EQ(library_delete_bucket(library_.get(), 64), LIBKX_RET_OK);
    ASSERT_EQ(library_create_bucket(library_.get(), &bucket, 0), LIBKX_RET_OK);
    EXPECT_EQ(bucket, 64); // the last one
    for (int bad : {-1, 65}) {
        bucket = bad;
        EXPECT_EQ(library_create_bucket(library_.get(), &bucket, 0), LIBKX_RET_INVALID_PARAMETER);
    }
}

TEST_F(Library, KeepsTheRateOfABucket)
{
    int bucket = 0;
    uint32_t rate = 1;
    ASSERT_EQ(library_create_bucket(library_.get(), &bucket, 0), LIBKX_RET_OK);
    ASSERT_EQ(library_get_bucket(library_.get(), bucket, &rate), LIBKX_RET_OK);
    EXPECT_EQ(rate, 0U);
    ASSERT_EQ(library_set_bucket(library_.get(), bucket, 1000), LIBKX_RET_OK);
    ASSERT_EQ(library_get_bucket(library_.get(), bucket, &rate), LIBKX_RET_OK);
    EXPECT_EQ(rate, 1000U); // as it was given: nothing is rounded
    ASSERT_EQ(library_delete_bucket(library_.get(), bucket), LIBKX_RET_OK);
    EXPECT_FALSE(library_has_bucket(library_.get(), bucket));
}

TEST_F(Library, RefusesBucketsThatAreNotThere)
{
    uint32_t rate = 77;
    for (int bucket : {-1, 0, 1, 64, 65}) {
        EXPECT_FALSE(library_has_bucket(library_.get(), bucket)) << bucket;
        EXPECT_EQ(library_get_bucket(library_.get(), bucket, &rate), LIBKX_RET_INVALID_PARAMETER) << bucket;
        EXPECT_EQ(library_set_bucket(library_.get(), bucket, 1), LIBKX_RET_INVALID_PARAMETER) << bucket;
        EXPECT_EQ(library_delete_bucket(library_.get(), bucket), LIBKX_RET_INVALID_PARAMETER) << bucket;
    }
    EXPECT_EQ(rate, 77U);
}

// Rules

TEST_F(Library, WalksRulesInOrder)
{
    const unsigned rules[][2] = {{2, 512}, {0, 64}, {1, 3}, {0, 1}, {4, 1}};
    for (const auto &[profile, rule] : rules)
        ASSERT_EQ(add_rule(profile, rule, rule), LIBKX_RET_OK);
    const unsigned ordered[][2] = {{0, 1}, {0, 64}, {1, 3}, {2, 512}, {4, 1}};
    libkx_qos_rule_s cursor = {};
    for (const auto &[profile, rule] : ordered) {
        ASSERT_EQ(library_next_rule(library_.get(), &cursor), LIBKX_RET_OK);
        EXPECT_EQ(cursor.profile_id, profile);
        EXPECT_EQ(cursor.rule_id, rule);
        EXPECT_EQ(cursor.action.queue, rule);
    }
    EXPECT_EQ(library_next_rule(library_.get(), &cursor), LIBKX_RET_FAIL);
    EXPECT_EQ(cursor.profile_id, 4); // as it was
}

TEST_F(Library, ReadsReplacesAndDeletesRules)
{
    ASSERT_EQ(add_rule(3, 9, 1), LIBKX_RET_OK);
    ASSERT_EQ(add_rule(3, 9, 2), LIBKX_RET_OK);
    libkx_qos_rule_s rule = {};
    rule.profile_id = 3;
    rule.rule_id = 9;
    ASSERT_EQ(library_get_rule(library_.get(), &rule), LIBKX_RET_OK);
    EXPECT_EQ(rule.action.queue, 2);
    EXPECT_EQ(library_delete_rule(library_.get(), 3, 9), LIBKX_RET_OK);
    EXPECT_EQ(library_delete_rule(library_.get(), 3, 9), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_get_rule(library_.get(), &rule), LIBKX_RET_INVALID_PARAMETER);
}

TEST_F(Library, RefusesBadRules)
{
    const unsigned bad[][2] = {{0, 0}, {0, 65}, {1, 513}, {2, 513}, {3, 65}, {4, 65}, {5, 1}, {65535, 65535}};
    for (const auto &[profile, rule] : bad)
        EXPECT_EQ(add_rule(profile, rule), LIBKX_RET_INVALID_PARAMETER) << profile << " " << rule;
    libkx_qos_rule_s none = {};
    EXPECT_EQ(library_get_rule(library_.get(), &none), LIBKX_RET_INVALID_PARAMETER);
    EXPECT_EQ(library_delete_rule(library_.get(), 0, 0), LIBKX_RET_INVALID_PARAMETER);
    for (unsigned rule = 1; rule <= 64; rule++)
        ASSERT_EQ(add_rule(1, rule), LIBKX_RET_OK);
    EXPECT_EQ(add_rule(1, 65), LIBKX_RET_MEM_ALLOCATE_FAIL);
    EXPECT_EQ(add_rule(1, 64), LIBKX_RET_OK); // replaces
    ASSERT_EQ(library_delete_rule(library_.get(), 1, 3), LIBKX_RET_OK);
    EXPECT_EQ(add_rule(1, 65), LIBKX_RET_OK); // its place is free again
}

} // namespace
