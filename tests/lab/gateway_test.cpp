// The trace's lines and what faults do.
#include "errors.h"
#include "gateway.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

class Gateway : public ::testing::Test {
  protected:
    std::unique_ptr<model> module_ = std::make_unique<model>();
    std::unique_ptr<gateway_session> session_ = std::make_unique<gateway_session>();
    std::unique_ptr<gateway_line> line_ = std::make_unique<gateway_line>();
    bool killed_ = false;

    Gateway()
    {
        model_init(module_.get());
    }

    void add_fault(const char *typed)
    {
        const char *wrong = gateway_read_fault(typed, &session_->faults[session_->fault_count]);
        ASSERT_EQ(wrong, nullptr) << typed << ": " << wrong;
        session_->fault_count++;
    }

    int open_device(int flags = 2)
    {
        return gateway_open(session_.get(), flags, line_.get());
    }

    template <typename Record> int send(uint32_t number, Record &record)
    {
        return gateway_request(session_.get(), module_.get(), KXQOS_REQUEST(number), &record, line_.get(), &killed_);
    }

    uint32_t debug_flags()
    {
        return module_->debug_flags;
    }

    int call(const char *function)
    {
        const gateway_fault *fault = gateway_call(session_.get(), function, line_.get());
        return fault == nullptr ? 0 : 1;
    }

    std::string line() const
    {
        return {line_->text.start, line_->text.length};
    }
};

// The trace

TEST_F(Gateway, WritesALineForEachEvent)
{
    EXPECT_EQ(open_device(2), 0);
    EXPECT_EQ(line(), "open 2 = 0\n");
    EXPECT_EQ(open_device(524290), 0);
    EXPECT_EQ(line(), "open 524290 = 0\n");

    kxqos_rate_bucket_t bucket = {3, 0, 100 * 128, 0};
    EXPECT_EQ(send(KXQOS_BUCKET_SET, bucket), 0);
    EXPECT_EQ(line(), "request 8 = 0 sent 030000000032000000000000 returned 030000000032000000000000\n");
    bucket = {3, 0, 0, 0};
    EXPECT_EQ(send(KXQOS_BUCKET_GET, bucket), 0);
    EXPECT_EQ(line(), "request 10 = 0 sent 030000000000000000000000 returned 0300670000400000eb030000\n");
    bucket = {4, 0, 0, 0};
    EXPECT_EQ(send(KXQOS_BUCKET_GET, bucket), -ENOENT);
    EXPECT_EQ(line(), "request 10 = -2 sent 040000000000000000000000 returned 040000000000000000000000\n");

    gateway_close(line_.get());
    EXPECT_EQ(line(), "close\n");

    EXPECT_EQ(call("libkx_qos_delete_bucket"), 0);
    line_->buffer[line_->text.length++] = ' ';
    line_->buffer[line_->text.length++] = '5';
    gateway_call_result(1, line_.get());
    EXPECT_EQ(line(), "call libkx_qos_delete_bucket 5 = 1\n");
}

TEST_F(Gateway, WritesUnknownRequests)
{
    uint32_t word = 0;
    EXPECT_EQ(send(30, word), -ENOTTY);
    EXPECT_EQ(line(), "request 30 = -25 sent - returned -\n");
    EXPECT_EQ(gateway_request(session_.get(), module_.get(), 0xc0085802, &word, line_.get(), &killed_), -ENOTTY);
    EXPECT_EQ(line(), "request 0xc0085802 = -25 sent - returned -\n");
    EXPECT_EQ(gateway_request(session_.get(), module_.get(), 2, &word, line_.get(), &killed_), -ENOTTY);
    EXPECT_EQ(line(), "request 0x00000002 = -25 sent - returned -\n");
}

TEST_F(Gateway, WritesAPayloadThatCannotBeRead)
{
    EXPECT_EQ(gateway_request(session_.get(), module_.get(), KXQOS_REQUEST(1), nullptr, line_.get(), &killed_),
              -EFAULT);
    EXPECT_EQ(line(), "request 1 = -14 sent - returned -\n");
    EXPECT_EQ(gateway_request(session_.get(), module_.get(), KXQOS_REQUEST(99), nullptr, line_.get(), &killed_),
              -ENOTTY); // nobody would read it
}

TEST_F(Gateway, WritesTheLargestPayloadWhole)
{
    kxqos_rl_ioctl_t half = {};
    memset(&half, 0xab, sizeof half);
    half.upDir = half.mode = half.secondPart = 0;
    ASSERT_EQ(send(KXQOS_RATE_LIMIT_SET, half), 0);
    std::string payload = "000000";
    for (int i = 3; i < 612; i++)
        payload += "ab";
    EXPECT_EQ(line(), "request 19 = 0 sent " + payload + " returned " + payload + "\n");
}

TEST_F(Gateway, WorksWithoutASession)
{
    uint32_t word = 1;
    EXPECT_EQ(gateway_open(nullptr, 2, line_.get()), 0);
    EXPECT_EQ(gateway_request(nullptr, module_.get(), KXQOS_REQUEST(1), &word, line_.get(), &killed_), 0);
    EXPECT_EQ(gateway_call(nullptr, "libkx_qos_get_rule", line_.get()), nullptr);
}

// Which events a fault strikes

TEST_F(Gateway, StrikesTheNthOpen)
{
    add_fault("open#2=fail");
    EXPECT_EQ(open_device(), 0);
    EXPECT_EQ(open_device(), -ENOENT);
    EXPECT_EQ(line(), "open 2 = -2\n");
    EXPECT_EQ(open_device(), 0);
}

TEST_F(Gateway, StrikesTheNthRequestOfANumber)
{
    add_fault("2#2=fail");
    uint32_t word = 0;
    EXPECT_EQ(send(KXQOS_DEBUG_GET, word), 0);
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), 0); // does not count
    EXPECT_EQ(open_device(), 0);
    EXPECT_EQ(call("libkx_qos_get_rule"), 0);
    EXPECT_EQ(send(KXQOS_DEBUG_GET, word), -EIO);
    EXPECT_EQ(send(KXQOS_DEBUG_GET, word), 0);
}

TEST_F(Gateway, StrikesTheNthRequestOfAnyNumber)
{
    add_fault("request#3=fail");
    uint32_t word = 0;
    EXPECT_EQ(open_device(), 0);
    EXPECT_EQ(send(KXQOS_DEBUG_GET, word), 0);
    EXPECT_EQ(send(99, word), -ENOTTY); // counts, unknown as it is
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), -EIO);
    EXPECT_EQ(send(KXQOS_DEBUG_GET, word), 0);
}

TEST_F(Gateway, StrikesTheNthCallOfAFunction)
{
    add_fault("libkx_qos_get_rule#2=fail");
    EXPECT_EQ(call("libkx_qos_get_rule"), 0);
    EXPECT_EQ(call("libkx_qos_add_rule"), 0);
    EXPECT_EQ(call("libkx_qos_get_next_rule"), 0);
    EXPECT_EQ(call("libkx_qos_get_rule"), 1);
    EXPECT_EQ(call("libkx_qos_get_rule"), 0);
}

TEST_F(Gateway, StrikesEveryEvent)
{
    add_fault("open#*=fail");
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(open_device(), -ENOENT);
}

TEST_F(Gateway, LetsTheFirstOfSeveralFaultsCount)
{
    add_fault("1#2=result:5");
    add_fault("1#*=result:6");
    add_fault("request#1=result:7");
    uint32_t word = 0;
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), 6);
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), 5); // counted by every rule, struck by the first
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), 6);
}

// What a fault does

TEST_F(Gateway, FailsWithoutAskingTheModel)
{
    add_fault("1#1=fail");
    uint32_t word = 5;
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), -EIO);
    EXPECT_EQ(line(), "request 1 = -5 sent 05000000 returned 05000000\n");
    EXPECT_EQ(debug_flags(), 0U);
    EXPECT_FALSE(killed_);
}

TEST_F(Gateway, FailsWithTheErrorThatIsNamed)
{
    add_fault("open#1=fail:EBUSY");
    add_fault("1#1=fail:EINTR");
    add_fault("libkx_qos_get_rule#1=fail:EACCES");
    add_fault("libkx_qos_get_rule#2=fail");
    EXPECT_EQ(open_device(), -16);
    EXPECT_EQ(line(), "open 2 = -16\n");
    uint32_t word = 5;
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), -4);
    EXPECT_EQ(line(), "request 1 = -4 sent 05000000 returned 05000000\n");
    EXPECT_EQ(debug_flags(), 0U);
    const gateway_fault *fault = gateway_call(session_.get(), "libkx_qos_get_rule", line_.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_TRUE(fault->fails);
    EXPECT_EQ(fault->error, 13);
    fault = gateway_call(session_.get(), "libkx_qos_get_rule", line_.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_TRUE(fault->fails);
    EXPECT_EQ(fault->error, 0);
}

TEST_F(Gateway, GivesAResultAfterTheModelsWork)
{
    add_fault("1#1=result:2147483647");
    uint32_t word = 5;
    EXPECT_EQ(send(KXQOS_DEBUG_SET, word), 2147483647);
    EXPECT_EQ(line(), "request 1 = 2147483647 sent 05000000 returned 05000000\n");
    EXPECT_EQ(debug_flags(), 5U);
}

TEST_F(Gateway, ReplacesBytes)
{
    add_fault("10#*=bytes:0:0700,bytes:8:aAfF");
    kxqos_rate_bucket_t bucket = {3, 0, 0, 0};
    EXPECT_EQ(send(KXQOS_BUCKET_GET, bucket), 0); // there is no such bucket
    EXPECT_EQ(line(), "request 10 = 0 sent 030000000000000000000000 returned 0700000000000000aaff0000\n");
    ASSERT_EQ(send(KXQOS_BUCKET_SET, bucket = {3, 0, 64 * 128, 0}), 0);
    EXPECT_EQ(send(KXQOS_BUCKET_GET, bucket = {3, 0, 0, 0}), 0);
    EXPECT_EQ(line(), "request 10 = 0 sent 030000000000000000000000 returned 0700670000200000aaff0000\n");
}

TEST_F(Gateway, ReplacesBytesWithAResult)
{
    add_fault("10#1=bytes:0:09,result:4,bytes:0:08");
    kxqos_rate_bucket_t bucket = {3, 0, 0, 0};
    EXPECT_EQ(send(KXQOS_BUCKET_GET, bucket), 4);
    EXPECT_EQ(bucket.bucketID, 8); // the later bytes count
}

TEST_F(Gateway, DropsBytesBeyondAPayload)
{
    add_fault("request#*=bytes:2:1111111111");
    struct {
        uint32_t word, after;
    } payload = {0, 0};
    EXPECT_EQ(send(KXQOS_DEBUG_GET, payload), 0);
    EXPECT_EQ(payload.word, 0x11110000U);
    EXPECT_EQ(payload.after, 0U);
    EXPECT_EQ(send(99, payload), 0); // a request without a payload
    EXPECT_EQ(line(), "request 99 = 0 sent - returned -\n");
}

TEST_F(Gateway, Kills)
{
    add_fault("1#1=kill");
    uint32_t word = 5;
    send(KXQOS_DEBUG_SET, word);
    EXPECT_TRUE(killed_);
    EXPECT_EQ(debug_flags(), 5U); // in the middle: the change is made
    send(KXQOS_DEBUG_SET, word);
    EXPECT_FALSE(killed_);
}

TEST_F(Gateway, HandsACallsFaultOut)
{
    add_fault("libkx_qos_get_bucket#1=value:18446744073709551615,result:3");
    const gateway_fault *fault = gateway_call(session_.get(), "libkx_qos_get_bucket", line_.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_EQ(fault->value_count, 1);
    EXPECT_EQ(fault->values[0], 18446744073709551615U);
    EXPECT_TRUE(fault->has_result);
    EXPECT_EQ(fault->result, 3);
    EXPECT_FALSE(fault->fails);
    EXPECT_FALSE(fault->has_bytes);
}

TEST_F(Gateway, HandsOutSeveralValuesInOrder)
{
    add_fault("libkx_qos_get_counter#1=value:7,result:2,value:18446744073709551615,value:0");
    const gateway_fault *fault = gateway_call(session_.get(), "libkx_qos_get_counter", line_.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_EQ(fault->value_count, 3);
    EXPECT_EQ(fault->values[0], 7U);
    EXPECT_EQ(fault->values[1], 18446744073709551615U);
    EXPECT_EQ(fault->values[2], 0U);
    EXPECT_EQ(fault->result, 2);
}

TEST_F(Gateway, OverwritesARecord)
{
    add_fault("libkx_qos_get_rule#1=value:0=0a0b,value:227=Ff,value:1=0c");
    const gateway_fault *fault = gateway_call(session_.get(), "libkx_qos_get_rule", line_.get());
    ASSERT_NE(fault, nullptr);
    EXPECT_TRUE(fault->has_bytes);
    EXPECT_EQ(fault->value_count, 0);
    std::array<uint8_t, 229> record = {};
    record.fill(0x55);
    gateway_overwrite(fault, record.data(), 228);
    EXPECT_EQ(record[0], 0x0a);
    EXPECT_EQ(record[1], 0x0c); // the later bytes count
    EXPECT_EQ(record[2], 0x55);
    EXPECT_EQ(record[226], 0x55);
    EXPECT_EQ(record[227], 0xff);
    EXPECT_EQ(record[228], 0x55);
}

// How faults are typed

#ifdef __GLIBC__
TEST_F(Gateway, KnowsEveryErrorByTheNameThatTheLibraryGivesIt)
{
    int known = 0;
    for (int number = 1; number < 4096; number++) {
        const char *name = strerrorname_np(number);
        if (name == nullptr)
            continue;
        EXPECT_EQ(error_number(name), number) << name;
        known++;
    }
    EXPECT_GT(known, 100);
}
#endif

TEST_F(Gateway, ReadsEveryFunction)
{
    const struct {
        const char *name;
        int numbers; // among its outputs
        bool gives_record;
    } functions[] = {
        {"libkx_switchApi_ipv4SetRateLimit", 0, false},
        {"libkx_switchApi_ipv6SetRateLimit", 0, false},
        {"libkx_switchApi_vlanSetRateLimit", 0, false},
        {"libkx_switchApi_portSetRateLimit", 0, false},
        {"libkx_qos_OSGI_getCounterByFlow", 6, false},
        {"libkx_qos_OSGI_clearCounterByFlow", 0, false},
        {"libkx_qos_hostEntryAdd", 2, false},
        {"libkx_qos_hostEntryDel", 2, false},
        {"libkx_qos_hostCounterGet", 6, false},
        {"libkx_qos_hostCounterClear", 0, false},
        {"libkx_netApi_getWanStats", 4, false},
        {"libkx_netApi_setWanRateLimit", 0, false},
        {"libkx_qos_create_counter", 1, false},
        {"libkx_qos_is_counter_created", 0, false},
        {"libkx_qos_get_counter", 3, false},
        {"libkx_qos_clear_counter", 0, false},
        {"libkx_qos_delete_counter", 0, false},
        {"libkx_qos_create_bucket", 1, false},
        {"libkx_qos_is_bucket_created", 0, false},
        {"libkx_qos_get_bucket", 1, false},
        {"libkx_qos_set_bucket", 0, false},
        {"libkx_qos_delete_bucket", 0, false},
        {"libkx_qos_add_rule", 0, false},
        {"libkx_qos_get_rule", 0, true},
        {"libkx_qos_delete_rule", 0, false},
        {"libkx_qos_get_next_rule", 0, true},
    };
    for (const auto &function : functions) {
        gateway_fault fault = {};
        EXPECT_EQ(gateway_read_fault((std::string(function.name) + "#1=fail").c_str(), &fault), nullptr)
            << function.name;
        EXPECT_EQ(fault.where, static_cast<uint32_t>(GATEWAY_CALL));
        EXPECT_STREQ(fault.function, function.name);
        std::string typed = std::string(function.name) + "#1=value:227=00";
        EXPECT_EQ(gateway_read_fault(typed.c_str(), &fault) == nullptr, function.gives_record) << typed;
        typed = std::string(function.name) + "#1=result:1";
        for (int number = 0; number < function.numbers; number++)
            typed += ",value:5";
        EXPECT_EQ(gateway_read_fault(typed.c_str(), &fault), nullptr) << typed;
        typed += ",value:5";
        EXPECT_NE(gateway_read_fault(typed.c_str(), &fault), nullptr) << typed;
    }
}

TEST_F(Gateway, ReadsGoodFaults)
{
    const char *good[] = {
        "open#1=fail",
        "open#*=fail",
        "open#*=fail:EHWPOISON",
        "request#4294967295=fail",
        "16#1=fail:ESOCKTNOSUPPORT",
        "libkx_qos_delete_rule#1=fail:EPERM",
        "0#1=result:0",
        "255#1=result:2147483647",
        "1#1=bytes:3:ff",
        "19#1=bytes:0:00,bytes:611:FF",
        "77#1=bytes:611:00",
        "request#1=bytes:611:00",
        "request#1=kill",
        "13#7=kill",
        "libkx_qos_hostEntryAdd#1=value:0",
        "libkx_qos_hostEntryAdd#1=value:0,value:0",
        "libkx_qos_OSGI_getCounterByFlow#1=value:1,value:2,value:3,value:4,value:5,value:6",
        "libkx_qos_get_rule#1=value:0=ff",
        "libkx_qos_get_next_rule#*=value:227=ff,value:0=0000,result:6",
        "libkx_qos_delete_rule#1=result:6",
    };
    for (const char *typed : good) {
        gateway_fault fault = {};
        EXPECT_EQ(gateway_read_fault(typed, &fault), nullptr) << typed;
    }
}

template <size_t Count> void expect_refused(const char *const (&faults)[Count])
{
    for (const char *typed : faults) {
        gateway_fault fault = {};
        EXPECT_NE(gateway_read_fault(typed, &fault), nullptr) << typed;
    }
}

TEST_F(Gateway, RefusesBadFaults)
{
    const char *bad[] = {
        "",
        "open",
        "open#",
        "open#1",
        "open#1=",
        "open#0=fail",
        "open#-1=fail",
        "open#x=fail",
        "open#1x=fail",
        "open#4294967296=fail",
        "open#**=fail",
        "Open#1=fail",
        "opens#1=fail",
        "#1=fail",
        "16=fail",
        " 16#1=fail",
        "256#1=fail",
        "16x#1=fail",
        "libkx_qos_get_rules#1=fail",
        "libkx_qos_get#1=fail",
        "nothing#1=fail",
        "libkx_qos_get_rule_and_then_some_more_than_48_characters#1=fail",
        // WHAT
        "16#1=fail ",
        "16#1=failed",
        "16#1=FAIL",
        "16#1=fail,",
        "16#1=,fail",
        "16#1=fail,fail",
        "16#1=fail:",
        "16#1=fail:EINT",
        "16#1=fail:EINTRX",
        "16#1=fail:eintr",
        "16#1=fail:4",
        "16#1=fail:EINTR,result:0",
        "16#1=fail:EINTR:EINTR",
        "16#1=fail:E_and_then_some_more_than_48_characters_that_are_no_name",
        "16#1=fail,result:0",
        "16#1=result:0,fail",
        "16#1=kill,result:1",
        "16#1=result",
        "16#1=result:",
        "16#1=result:-1",
        "16#1=result:2147483648",
        "16#1=result:1x",
        "16#1=bytes",
        "16#1=bytes:",
        "16#1=bytes:0",
        "16#1=bytes:0:",
        "16#1=bytes:0:,result:1",
        "16#1=bytes:0:f",
        "16#1=bytes:0:fff",
        "16#1=bytes:0:fg",
        "16#1=bytes:x:ff",
        "16#1=bytes:240:ff",
        "16#1=bytes:239:ffff",
        "1#1=bytes:4:ff",
        "77#1=bytes:612:ff",
        "request#1=bytes:612:ff",
        "16#1=value:1",
    };
    expect_refused(bad);
}

TEST_F(Gateway, RefusesFaultsThatDoNotGoWithTheirPlace)
{
    const char *bad[] = {
        "open#1=result:1",
        "open#1=bytes:0:ff",
        "open#1=kill",
        "open#1=value:1",
        "libkx_qos_get_bucket#1=bytes:0:ff",
        "libkx_qos_get_bucket#1=kill",
        "libkx_qos_get_bucket#1=value:",
        "libkx_qos_get_bucket#1=value:x",
        "libkx_qos_get_bucket#1=value:18446744073709551616",
        "libkx_qos_delete_bucket#1=value:1",
        "libkx_qos_get_bucket#1=value:0=ff",
        "libkx_qos_get_bucket#1=value:1,value:2",
        "libkx_qos_get_bucket#1=value:1,fail",
        "libkx_qos_OSGI_getCounterByFlow#1=value:1,value:2,value:3,value:4,value:5,value:6,value:7",
        "libkx_qos_get_rule#1=value:1",
        "libkx_qos_get_rule#1=value:",
        "libkx_qos_get_rule#1=value:0=",
        "libkx_qos_get_rule#1=value:0=,result:1",
        "libkx_qos_get_rule#1=value:0=f",
        "libkx_qos_get_rule#1=value:0:ff",
        "libkx_qos_get_rule#1=value:=ff",
        "libkx_qos_get_rule#1=value:228=ff",
        "libkx_qos_get_rule#1=value:227=ffff",
        "libkx_qos_get_rule#1=bytes:0:ff",
        "libkx_qos_add_rule#1=value:0=ff",
        "libkx_qos_is_bucket_created#1=value:1",
    };
    expect_refused(bad);
}

TEST_F(Gateway, TellsWhatIsWrongWithAFault)
{
    const char *wrong[][2] = {
        {"opens#1=fail", "WHERE is open, request, the number of a request, or a function of the library"},
        {"256#1=fail", "the number of a request is at most 255"},
        {"16=fail", "a # stands after WHERE"},
        {"16#0=fail", "N is * or a number from 1 on"},
        {"16#1", "a = stands after N"},
        {"16#1=fail:EINTRO", "fail is fail:NAME for an error with a name, as EINTR"},
        {"16#1=fall", "WHAT is fail, fail:NAME, result:R, bytes:OFFSET:HEX, value:V or kill"},
        {"16#1=fail,kill", "fail and kill stand alone"},
        {"1#1=bytes:4:00", "bytes begins with an offset within the payload"},
        {"1#1=bytes:3:0000", "HEX goes beyond the payload or record"},
        {"1#1=bytes:0:0", "HEX has two hexadecimal digits for each byte"},
        {"libkx_qos_get_rule#1=bytes:0:00", "bytes is for requests"},
        {"libkx_qos_get_rule#1=value:228=00", "the value of a record begins with an offset within it"},
        {"libkx_qos_get_rule#1=value:0", "the value of a record is value:OFFSET=HEX"},
        {"libkx_qos_get_rule#1=value:227=0000", "HEX goes beyond the payload or record"},
        {"libkx_qos_get_bucket#1=value:0,value:0", "the function does not give as many numbers"},
        {"libkx_qos_get_bucket#1=value:-1", "a value is a number from 0 on"},
        {"1#1=value:1", "value is for functions of the library that give a number or a record"},
        {"open#1=result:1", "an open can only fail"},
    };
    for (const auto &[typed, message] : wrong) {
        gateway_fault fault = {};
        EXPECT_STREQ(gateway_read_fault(typed, &fault), message) << typed;
    }
}

} // namespace
