// The switches typed back from the dump, and what the dump leaves out.
#include "gateway.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

Answer word(int number, uint32_t value)
{
    return request(number, value);
}

uint32_t word_of(const Gateway &gateway, int number)
{
    uint32_t value = 0;
    std::memcpy(&value, gateway.send({word(number, 0)}).at(0).payload.data(), sizeof value);
    return value;
}

const char *const enable_or_disable[] = {"disable", "enable"};

} // namespace

TEST(Switches, EverySetting)
{
    for (int setting = 0; setting < 8; setting++) {
        Gateway gateway;
        std::vector<int> statuses = gateway.type({std::string("qos ") + enable_or_disable[setting & 1],
                                                  std::string("puredscpremark ") + enable_or_disable[setting >> 1 & 1],
                                                  std::string("fine-classifi ") + enable_or_disable[setting >> 2 & 1]});
        ASSERT_EQ(statuses, std::vector<int>(3, 0));
        expect_round_trip(gateway);
    }
}

// A dump says what is there, not what is absent: typed into a gateway that was not just switched on, it leaves what
// that one has beyond it.
TEST(Switches, AbsenceCannotBeExpressed)
{
    Gateway gateway;
    Lines nothing = gateway.dump().commands();
    for (const char *command : {"puredscpremark enable", "rule 1 action queue 1", "bucket 1 rate 64",
                                "limit up add port 1 rate 1", "limit down add ip 10.0.0.1 rate 1"}) {
        gateway.reboot();
        ASSERT_EQ(gateway.type({command}), std::vector<int>{0});
        std::string before = gateway.dump().text;
        gateway.type(nothing);
        EXPECT_EQ(gateway.dump().text, before);
        EXPECT_NE(gateway.dump().commands(), nothing) << command;
    }
    // The other way round for fine classification, whose presence has no line.
    gateway.reboot();
    ASSERT_EQ(gateway.type({"fine-classifi disable"}), std::vector<int>{0});
    gateway.type(nothing);
    EXPECT_EQ(word_of(gateway, KXQOS_FINE_CLASSIFY_GET), 0U);
}

// The debug categories, the refresh switch and the counters have commands, and no line in the dump.
TEST(Switches, LeftOut)
{
    Gateway gateway;
    Dump before = gateway.dump();
    ASSERT_EQ(gateway.type({"debug all on", "refresh disable", "counter 1 enable"}), std::vector<int>(3, 0));
    ASSERT_EQ(word_of(gateway, KXQOS_DEBUG_GET), 0x1ffU);
    Dump after = gateway.dump();
    EXPECT_EQ(after.text, before.text);
    for (const Answer &answer : after.answers) {
        EXPECT_TRUE(answer.number == KXQOS_STATE_GET || answer.number == KXQOS_RULE_NEXT ||
                    answer.number == KXQOS_PURE_DSCP_GET || answer.number == KXQOS_FINE_CLASSIFY_GET ||
                    answer.number == KXQOS_BUCKET_NEXT || answer.number == KXQOS_RATE_LIMIT_GET)
            << answer.number;
    }
    gateway.reboot();
    gateway.type(after.commands());
    EXPECT_EQ(word_of(gateway, KXQOS_DEBUG_GET), 0U);
}
