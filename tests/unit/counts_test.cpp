// A command reads as many words as its count says, and no further. Behind every count there stand words that would be
// a good end of the command, so that a read beyond it shows without AddressSanitizer, too: by another result, another
// text, or a request or a call of the library that should not be.

#include "bucket.h"
#include "configuration.h"
#include "counter.h"
#include "device.h"
#include "limit_command.h"
#include "rule_command.h"
#include "rule_parse.h"
#include "settings.h"
#include "test_command.h"
#include "usage.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A device that takes every request, leaves its record as it is, and says so where the tool prints. The labels make
// these the open and the ioctl of this whole program; every other file opens as ever.

extern "C" int open_for_tests(const char *path, int flags, unsigned mode) __asm__("open");
extern "C" int ioctl_for_tests(int fd, unsigned long request, void *payload) __asm__("ioctl");

extern "C" int open_for_tests(const char *path, int flags, unsigned mode)
{
    const bool device = std::string(path) == KXQOS_DEVICE;
    return openat(AT_FDCWD, device ? "/dev/null" : path, flags, mode);
}

extern "C" int ioctl_for_tests(int /*fd*/, unsigned long request, void * /*payload*/)
{
    std::printf("request %lu\n", request & 0xff);
    return 0;
}

namespace {

using Words = std::vector<const char *>;
using Command = int (*)(int count, const char *const *words);

struct Outcome {
    int result;
    std::string text;

    bool operator==(const Outcome &) const = default;
};

std::ostream &operator<<(std::ostream &stream, const Outcome &outcome)
{
    return stream << outcome.result << " with text:\n" << outcome.text;
}

// What the command does with the first count of the words. Calls of the library print their names.
Outcome run(Command command, int count, const Words &words)
{
    setenv("KXQOS_LAB_LIBKX_PRINTS", "1", 1);
    unsetenv("KXQOS_LAB_STATE");
    testing::internal::CaptureStdout();
    const int result = command(count, words.data());
    return {result, testing::internal::GetCapturedStdout()};
}

// -1 and the usage, after what was printed before.
Outcome refused(void (*usage)(), const std::string &before = "")
{
    testing::internal::CaptureStdout();
    usage();
    return {-1, before + testing::internal::GetCapturedStdout()};
}

const Outcome refused_silently = {-1, ""};
const Outcome done_silently = {0, ""};

Outcome sent(const std::string &requests)
{
    return {0, requests};
}

// The records of a rule's parsers.

kxqos_rule_t rule_of(int (*parse)(int, const char *const *, kxqos_rule_t *), int count, const Words &words,
                     const Outcome &expected)
{
    kxqos_rule_t rule = {};
    testing::internal::CaptureStdout();
    const int result = parse(count, words.data(), &rule);
    EXPECT_EQ((Outcome{result, testing::internal::GetCapturedStdout()}), expected);
    return rule;
}

TEST(Counts, ActionsWithoutTheirValue)
{
    for (const char *action : {"queue", "8021p", "dscp", "rate-bucket", "counter"}) {
        SCOPED_TRACE(action);
        EXPECT_EQ(rule_of(parse_action_command, 1, {action, "3"}, refused_silently).action.actionFlag, 0U);
        EXPECT_EQ(rule_of(parse_action_command, 2, {"sw-fwd", action, "3"}, refused_silently).action.actionFlag,
                  0x200U);
    }
    rule_of(parse_action_command, 3, {"queue", "3", "dscp", "5"}, refused_silently);
}

TEST(Counts, ActionsBehindTheLastOne)
{
    EXPECT_EQ(rule_of(parse_action_command, 0, {"queue", "3"}, done_silently).action.actionFlag, 0U);
    EXPECT_EQ(rule_of(parse_action_command, -1, {"queue", "3"}, done_silently).action.actionFlag, 0U);
    EXPECT_EQ(rule_of(parse_action_command, 2, {"queue", "3", "dbgon"}, done_silently).action.actionFlag, 1U);
    EXPECT_EQ(rule_of(parse_action_command, 1, {"dbgon", "sw-fwd"}, done_silently).action.actionFlag, 0x20U);
}

// Every match field with a good value after the count.
TEST(Counts, MatchFieldsWithoutTheirValue)
{
    const char *const fields[][2] = {
        {"dmac", "00:11:22:33:44:55"},
        {"smac", "00:11:22:33:44:55"},
        {"ethertype", "0x800"},
        {"tpid", "0x8100"},
        {"vid", "5"},
        {"pri", "5"},
        {"ivid", "5"},
        {"ipri", "5"},
        {"dip", "10.0.0.1"},
        {"sip", "10.0.0.1"},
        {"dip6", "::1"},
        {"sip6", "::1"},
        {"tos", "5"},
        {"dscp", "5"},
        {"pre", "5"},
        {"fl", "5"},
        {"tc", "5"},
        {"protocol", "6"},
        {"sport", "80"},
        {"dport", "80"},
        {"rxports", "1"},
        {"txports", "1"},
        {"indev", "eth0"},
        {"outdev", "eth0"},
        {"wan", "eth0"},
        {"edmac", "00:11:22:33:44:55"},
        {"esip", "10.0.0.1"},
        {"esip6", "::1"},
        {"esport", "80"},
        {"protocols", "6"},
    };
    for (const auto &[field, value] : fields) {
        SCOPED_TRACE(field);
        kxqos_rule_t rule = {};
        const Words words = {field, value, "action", "queue", "3"};
        testing::internal::CaptureStdout();
        EXPECT_EQ(parse_rule_command(1, words.data(), &rule), -1);
        testing::internal::GetCapturedStdout(); // for an address, its message
        EXPECT_EQ(rule.fieldSel[0] | rule.fieldSel[1] | rule.fieldSel[2] | rule.fieldSel[3], 0);
        EXPECT_EQ(rule.action.actionFlag, 0U);
        const Words second = {"pri", "1", field, value, "action", "queue", "3"};
        testing::internal::CaptureStdout();
        EXPECT_EQ(parse_rule_command(3, second.data(), &rule), -1);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(rule.action.actionFlag, 0U);
    }
}

TEST(Counts, MatchesWithoutAnAction)
{
    rule_of(parse_rule_command, 1, {"vid", "5", "action"}, refused_silently);
    rule_of(parse_rule_command, 2, {"vid", "5", "action"}, refused_silently);
    rule_of(parse_rule_command, 0, {"vid", "5", "action"}, refused_silently);
    EXPECT_EQ(rule_of(parse_rule_command, 3, {"vid", "5", "action", "queue", "3"}, done_silently).action.actionFlag,
              0U);
    rule_of(parse_rule_command, 4, {"vid", "5", "action", "queue", "3"}, refused_silently);
    EXPECT_EQ(
        rule_of(parse_rule_command, 4, {"vid", "5", "action", "dbgon", "sw-fwd"}, done_silently).action.actionFlag,
        0x20U);
}

TEST(Counts, Rule)
{
    const Outcome incomplete = refused(rule_cmd_usage, "Err: Incomplete command! \n");
    EXPECT_EQ(run(do_rule_command, 0, {"1", "delete"}), incomplete);
    EXPECT_EQ(run(do_rule_command, 1, {"1", "delete"}), incomplete);
    EXPECT_EQ(run(do_rule_command, 2, {"1", "delete", "x"}), sent("request 14\n"));
    EXPECT_EQ(run(do_rule_command, 2, {"1", "show", "x"}),
              sent("request 16\n"
                   "Profile qos Rule ID: 01  cnt:0\n  Match filed { \n  } \n  Action { \n  } \n"));
    EXPECT_EQ(run(do_rule_command, 2, {"1", "action", "queue", "3"}), incomplete);
    EXPECT_EQ(run(do_rule_command, 3, {"1", "action", "queue", "3"}), refused_silently);
    EXPECT_EQ(run(do_rule_command, 3, {"1", "action", "dbgon", "jump"}), sent("request 13\n"));
    for (int count = 2; count < 6; count++)
        EXPECT_EQ(run(do_rule_command, count, {"1", "match", "vid", "5", "action", "queue", "3"}), incomplete) << count;
    EXPECT_EQ(run(do_rule_command, 6, {"1", "match", "vid", "5", "action", "queue", "3"}), refused_silently);
}

TEST(Counts, RuleOfAProfile)
{
    const Outcome incomplete = refused(rule_cmd_usage, "Err: Incomplete command! \n");
    for (const char *profile : {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc", "1"}) {
        SCOPED_TRACE(profile);
        EXPECT_EQ(run(do_rule_command, 2, {"1", "profile", profile, "show"}), refused_silently);
        EXPECT_EQ(run(do_rule_command, 3, {"1", "profile", profile, "show"}), refused_silently);
        EXPECT_EQ(run(do_rule_command, 4, {"1", "profile", profile, "delete", "x"}), sent("request 14\n"));
        EXPECT_EQ(run(do_rule_command, 4, {"1", "profile", profile, "action", "queue", "3"}), incomplete);
        EXPECT_EQ(run(do_rule_command, 5, {"1", "profile", profile, "action", "queue", "3"}), refused_silently);
    }
    // Words that would be reported.
    EXPECT_EQ(run(do_rule_command, 2, {"65", "profile", "qos", "show"}), refused_silently);
    EXPECT_EQ(run(do_rule_command, 2, {"1", "profile", "5", "show"}), refused_silently);
    const Words words = {"1", "profile", "qos", "match", "vid", "5", "action", "queue", "3"};
    for (int count = 4; count < 8; count++)
        EXPECT_EQ(run(do_rule_command, count, words), incomplete) << count;
    EXPECT_EQ(run(do_rule_command, 8, words), refused_silently);
}

TEST(Counts, Bucket)
{
    const Outcome incomplete = refused(rate_bucket_cmd_usage, "Err: Incomplete command! \n");
    EXPECT_EQ(run(do_rate_bucket_command, 0, {"show"}), incomplete);
    EXPECT_EQ(run(do_rate_bucket_command, 1, {"3", "delete"}), incomplete);
    EXPECT_EQ(run(do_rate_bucket_command, 2, {"3", "rate", "64"}), incomplete);
    EXPECT_EQ(run(do_rate_bucket_command, 1, {"show", "x"}), sent("request 12\n"));
    EXPECT_EQ(run(do_rate_bucket_command, 2, {"3", "delete", "x"}), sent("request 9\n"));
    EXPECT_EQ(run(do_rate_bucket_command, 2, {"3", "show", "x"}),
              sent("request 10\nBucket 3: rate no limit, hwID 0, tocken 0 \n"));
    EXPECT_EQ(run(do_rate_bucket_command, 3, {"3", "rate", "64", "x"}), sent("request 8\n"));
}

TEST(Counts, Counter)
{
    EXPECT_EQ(run(do_counter_command, 0, {"show"}), refused(counter_cmd_usage));
    EXPECT_EQ(run(do_counter_command, 1, {"5", "clear"}), refused(counter_cmd_usage));
    EXPECT_EQ(run(do_counter_command, 2, {"5", "clear", "x"}), sent("request 27\n"));
    EXPECT_EQ(run(do_counter_command, 3, {"5", "clear", "x"}), refused(counter_cmd_usage));
    std::string all;
    for (int counter = 1; counter <= 222; counter++)
        all += "request 27\n";
    EXPECT_EQ(run(do_counter_command, 1, {"clear", "x"}), sent(all));
}

TEST(Counts, Settings)
{
    EXPECT_EQ(run(do_debug_command, 1, {"info", "on"}), (Outcome{-1, "Err: Incomplete command! \n"}));
    EXPECT_EQ(run(do_debug_command, 1, {"show", "x"}), sent("request 3\n"));
    EXPECT_EQ(run(do_debug_command, 2, {"info", "on", "x"}), sent("request 2\nrequest 1\n"));
    EXPECT_EQ(run(do_global_state_command, 0, {"enable"}), refused(global_state_cmd_usage));
    EXPECT_EQ(run(do_global_state_command, 1, {"enable", "x"}), sent("request 28\n"));
    EXPECT_EQ(run(do_pure_dacpremark_command, 0, {"enable"}), refused_silently);
    EXPECT_EQ(run(do_pure_dacpremark_command, 1, {"enable", "x"}), sent("request 32\n"));
    EXPECT_EQ(run(do_fine_classification_command, 0, {"enable"}), refused_silently);
    EXPECT_EQ(run(do_fine_classification_command, 1, {"enable", "x"}), sent("request 34\n"));
    EXPECT_EQ(run(do_kxnat_refresh_command, 0, {"enable"}), refused_silently);
    EXPECT_EQ(run(do_kxnat_refresh_command, 1, {"enable", "x"}), sent("request 36\n"));
    EXPECT_EQ(run(do_configuration_command, 0, {"show"}), refused(configuration_cmd_usage));
    EXPECT_EQ(run(do_reset_command, 0, {"profile", "qos"}), refused(reset_cmd_usage));
    EXPECT_EQ(run(do_reset_command, 1, {"profile", "qos"}), refused(reset_cmd_usage));
    EXPECT_EQ(run(do_reset_command, 1, {"profile", "2"}), refused(reset_cmd_usage));
    EXPECT_EQ(run(do_reset_command, 2, {"profile", "qos", "x"}), sent("request 15\n"));
}

TEST(Counts, Limit)
{
    EXPECT_EQ(run(do_rate_limit_command, 0, {"show"}), refused(rate_limit_cmd_usage));
    EXPECT_EQ(run(do_rate_limit_command, 1, {"up", "mode", "ip"}), refused(rate_limit_cmd_usage));
    EXPECT_EQ(run(do_rate_limit_command, 2, {"up", "mode", "ip"}), refused(rate_limit_cmd_usage));
    EXPECT_EQ(run(do_rate_limit_command, 3, {"up", "mode", "ip", "x"}),
              sent("request 20\nrequest 20\nrequest 19\nrequest 19\n"));
    const char *const keys[][2] = {{"ip", "10.0.0.1"}, {"ip6", "::1"}, {"vlan", "5"}, {"port", "3"}};
    for (const auto &[object, key] : keys) {
        for (const char *verb : {"add", "delete"}) {
            SCOPED_TRACE(std::string(verb) + " " + object);
            const Words words = {"up", verb, object, key, "rate", "64"};
            EXPECT_EQ(run(do_rate_limit_command, 2, words), refused(rate_limit_cmd_usage));
            for (int count = 3; count < 6; count++)
                EXPECT_EQ(run(do_rate_limit_command, count, words),
                          refused(rate_limit_cmd_usage, "request 20\nrequest 20\n"))
                    << count;
        }
    }
}

TEST(Counts, TestOfFlows)
{
    const Words words = {"osgi", "7", "counter", "256", "clear", "x"};
    for (int count = 1; count < 5; count++)
        EXPECT_EQ(run(do_test_command, count, words), refused(test_cmd_usage)) << count;
    EXPECT_EQ(run(do_test_command, 5, words), sent("libkx: libkx_qos_OSGI_clearCounterByFlow\n"));
}

TEST(Counts, TestOfHosts)
{
    const Words addition = {"host", "1", "add", "00:11:22:33:44:55", "1", "100", "200", "3", "4"};
    for (int count = 1; count < 9; count++)
        EXPECT_EQ(run(do_test_command, count, addition), refused(test_cmd_usage)) << count;
    EXPECT_EQ(run(do_test_command, 9, addition),
              sent("libkx: libkx_qos_hostEntryAdd\nadd flow 1, alloc bucket 3, counter 4 \n"));
    EXPECT_EQ(run(do_test_command, 1, {"host", "257", "add"}), refused(test_cmd_usage));
    const Words deletion = {"host", "1", "del", "00:11:22:33:44:55", "3", "4"};
    for (int count = 1; count < 6; count++)
        EXPECT_EQ(run(do_test_command, count, deletion), refused(test_cmd_usage)) << count;
    EXPECT_EQ(run(do_test_command, 6, deletion), sent("libkx: libkx_qos_hostEntryDel\n"));
    const Words clearing = {"host", "1", "counter", "4", "clear"};
    for (int count = 1; count < 5; count++)
        EXPECT_EQ(run(do_test_command, count, clearing), refused(test_cmd_usage)) << count;
    EXPECT_EQ(run(do_test_command, 5, clearing), sent("libkx: libkx_qos_hostCounterClear\n"));
}

TEST(Counts, TestOfWanInterfaces)
{
    // Without a word after the interface there is nothing to do.
    EXPECT_EQ(run(do_test_command, 1, {"wan", "eth0", "counter"}), done_silently);
    EXPECT_EQ(run(do_test_command, 2, {"wan", "eth0", "counter"}), done_silently);
    EXPECT_EQ(run(do_test_command, 3, {"wan", "eth0", "counter", "x"}), sent("libkx: libkx_netApi_getWanStats\n"));
    EXPECT_EQ(run(do_test_command, 3, {"wan", "eth0", "rate", "1", "2"}), refused(test_cmd_usage));
    EXPECT_EQ(run(do_test_command, 4, {"wan", "eth0", "rate", "1", "2"}), refused(test_cmd_usage));
    EXPECT_EQ(run(do_test_command, 5, {"wan", "eth0", "rate", "1", "2"}),
              refused(test_cmd_usage, "libkx: libkx_netApi_setWanRateLimit\n")); // it fails outside the lab
}

} // namespace
