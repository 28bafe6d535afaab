// Buckets and rate limits typed back from the dump: the same again, unless a database is in a state that the syntax
// cannot express.
#include "gateway.h"
#include "limit_states.h"

#include <gtest/gtest.h>

namespace {

void load(const Gateway &gateway, const kxqos_rl_t &database)
{
    for (const Answer &answer : gateway.send(database_requests(database)))
        ASSERT_EQ(answer.result, 0);
}

// One database in each direction: each is expected to come back just when it is in no state that cannot be expressed.
void expect_exactly_the_expressible(kxqos_rl_t down, kxqos_rl_t up)
{
    down.upDir = 0;
    up.upDir = 1;
    Gateway gateway;
    load(gateway, down);
    load(gateway, up);
    Dump first = gateway.dump();
    ASSERT_TRUE(same(first.limits()[0], down) && same(first.limits()[1], up)) << "the module changed a database";
    gateway.reboot();
    gateway.type(first.commands());
    std::vector<kxqos_rl_t> typed = gateway.dump().limits();
    for (const kxqos_rl_t &database : {down, up}) {
        std::set<std::string> names = inexpressible(database);
        EXPECT_EQ(same(typed.at(database.upDir), database), names.empty())
            << (names.empty() ? "nothing that cannot be expressed" : *names.begin()) << "\n"
            << first.text;
    }
}

} // namespace

TEST(Limits, BucketsAll)
{
    Random random{3};
    std::vector<Answer> requests;
    for (uint16_t number = 1; number <= KXQOS_BUCKET_LAST; number++) {
        kxqos_rate_bucket_t bucket = {};
        bucket.bucketID = number;
        bucket.rateLimit = random.pick(10485761) * 128;
        if (number <= 2)
            bucket.rateLimit = number == 1 ? 0 : uint32_t{KXQOS_RATE_LAST} * KXQOS_RATE_UNITS;
        requests.push_back(request(KXQOS_BUCKET_SET, bucket));
    }
    Gateway gateway;
    for (const Answer &answer : gateway.send(requests))
        ASSERT_EQ(answer.result, 0);
    ASSERT_EQ(gateway.dump().commands().size(), 64U + 3U);
    expect_round_trip(gateway);
}

TEST(Limits, EveryTableFull)
{
    Random random{4};
    Gateway gateway;
    for (uint8_t direction : {uint8_t{0}, uint8_t{1}}) {
        kxqos_rl_t database = random_database(random, 24, 16, 16);
        ASSERT_TRUE(inexpressible(database).empty());
        database.upDir = direction;
        database.mode = RATELIMIT_MODE_IP;
        load(gateway, database);
    }
    ASSERT_EQ(gateway.dump().commands().size(), 1U + 2 * (1U + 24 + 16 + 16));
    expect_round_trip(gateway);
}

TEST(Limits, EveryModeInBothDirections)
{
    Random random{5};
    for (uint8_t mode = 0; mode < RATELIMIT_MODE_MAX; mode++) {
        Gateway gateway;
        for (uint8_t direction : {uint8_t{0}, uint8_t{1}}) {
            kxqos_rl_t database = random_database(random, 2, 2, 2);
            database.upDir = direction;
            database.mode = static_cast<uint8_t>((mode + direction) % RATELIMIT_MODE_MAX);
            load(gateway, database);
        }
        expect_round_trip(gateway);
    }
}

// One example of each state, which is in no other: each name is needed.
TEST(Limits, EachNamedStateCannotBeExpressed)
{
    for (const LimitState &state : inexpressible_limit_states()) {
        EXPECT_EQ(inexpressible(state.example()), std::set<std::string>{state.name});
        expect_exactly_the_expressible(state.example(), kxqos_rl_t{});
    }
}

// Databases of all sorts, two in three with a bit or two of them changed: there is no other state.
TEST(Limits, NoOtherStateCannotBeExpressed)
{
    constexpr int rounds = 40;
    Random random{6};
    int expressible = 0;
    for (int round = 0; round < rounds; round++) {
        std::vector<kxqos_rl_t> databases;
        for (int i = 0; i < 2; i++) {
            databases.push_back(random_database(random, random.pick(4), random.pick(4), random.pick(4)));
            databases.back().mode = static_cast<uint8_t>(random.pick(RATELIMIT_MODE_MAX));
            for (uint32_t flips = random.pick(3); flips > 0; flips--)
                spoil(databases.back(), random);
            expressible += inexpressible(databases.back()).empty() ? 1 : 0;
        }
        expect_exactly_the_expressible(databases[0], databases[1]);
    }
    EXPECT_GT(expressible, rounds / 2);
    EXPECT_LT(expressible, rounds * 3 / 2);
}
