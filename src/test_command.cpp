#include "test_command.h"

#include "address.h"
#include "libkx.h"
#include "number.h"
#include "output.h"
#include "self_test.h"
#include "usage.h"
#include "words.h"

#include <string.h>

static constexpr int limit_maximum = 10000000; // kbps

static int usage_and_fail()
{
    test_cmd_usage();
    return -1;
}

// Reads the number of a counter or a bucket; 0 is one, too.
static int parse_id(const char *word, int *id)
{
    u32 number = 0;
    const int result = parse_u32(word, &number, 0, LIBKX_ID_LAST);
    *id = static_cast<int>(number);
    return result;
}

static int parse_mac(const char *word, unsigned char *mac)
{
    unsigned char mask[6];
    int rangeMode = 0;
    int inverseFlag = 0;
    const int result = parse_mac_addr(word, mac, mask, &rangeMode, &inverseFlag);
    if (result != 0)
        print_line("Err: mac address format error ");
    return result;
}

struct traffic {
    uint64_t upPkts;
    uint64_t upBytes;
    uint32_t upSpeed;
    uint64_t downPkts;
    uint64_t downBytes;
    uint32_t downSpeed;
};

static libkx_retCode_t get_flow_traffic(int flow, int counter, traffic *seen)
{
    return libkx_qos_OSGI_getCounterByFlow(flow, counter, &seen->upPkts, &seen->upBytes, &seen->upSpeed,
                                           &seen->downPkts, &seen->downBytes, &seen->downSpeed);
}

static libkx_retCode_t get_host_traffic(int host, int counter, traffic *seen)
{
    return libkx_qos_hostCounterGet(host, counter, &seen->upPkts, &seen->upBytes, &seen->upSpeed, &seen->downPkts,
                                    &seen->downBytes, &seen->downSpeed);
}

static void show_traffic(const char *what, int id, const traffic &seen)
{
    print("%s %d: upPkts=%lld, upBytes=%lld, upSpeed=%ld, downPkts=%lld, downBytes=%lld, downSpeed=%ld \n", what, id,
          static_cast<long long>(seen.upPkts), static_cast<long long>(seen.upBytes), static_cast<long>(seen.upSpeed),
          static_cast<long long>(seen.downPkts), static_cast<long long>(seen.downBytes),
          static_cast<long>(seen.downSpeed));
}

// kept: a failed read of a flow or a host is silent, and the result of a clearing is not looked at

// osgi <flow> counter <counter> (clear|show)
static int test_osgi(int count, const char *const *words)
{
    u32 flow = 0;
    int counter = 0;
    if (count < 5)
        return usage_and_fail();
    if (parse_u32(words[1], &flow, 0, LIBKX_FLOW_LAST) != 0)
        return -1;
    if (!begins(words[2], "counter", 2))
        return usage_and_fail();
    if (parse_id(words[3], &counter) != 0)
        return -1;
    const int id = static_cast<int>(flow);
    traffic seen = {};
    if (begins(words[4], "clear", 2))
        libkx_qos_OSGI_clearCounterByFlow(id, counter);
    else if (!begins(words[4], "show", 2))
        return usage_and_fail();
    else if (get_flow_traffic(id, counter, &seen) == LIBKX_RET_OK)
        show_traffic("Flow", id, seen);
    return 0;
}

// <mac> <statistics> <up limit> <down limit> <bucket> <counter>
static int add_host(int host, const char *const *words)
{
    unsigned char mac[6];
    u32 statistics = 0;
    u32 upLimit = 0;
    u32 downLimit = 0;
    int bucket = 0;
    int counter = 0;
    if (parse_mac(words[0], mac) != 0 || parse_u32(words[1], &statistics, 0, 1) != 0 ||
        parse_u32(words[2], &upLimit, 0, limit_maximum) != 0 ||
        parse_u32(words[3], &downLimit, 0, limit_maximum) != 0 || parse_id(words[4], &bucket) != 0 ||
        parse_id(words[5], &counter) != 0)
        return -1;
    // kept: the library's result is not looked at
    libkx_qos_hostEntryAdd(host, mac, static_cast<int>(statistics), upLimit, downLimit, &bucket, &counter);
    print("add flow %d, alloc bucket %d, counter %d \n", host, bucket, counter);
    return 0;
}

// <mac> <bucket> <counter>
static int delete_host(int host, const char *const *words)
{
    unsigned char mac[6];
    int bucket = 0;
    int counter = 0;
    if (parse_mac(words[0], mac) != 0 || parse_id(words[1], &bucket) != 0 || parse_id(words[2], &counter) != 0)
        return -1;
    libkx_qos_hostEntryDel(host, mac, &bucket, &counter);
    return 0;
}

// <counter> (clear|show)
static int host_counter(int host, const char *const *words)
{
    int counter = 0;
    if (parse_id(words[0], &counter) != 0)
        return -1;
    traffic seen = {};
    if (begins(words[1], "clear", 2))
        libkx_qos_hostCounterClear(host, counter);
    else if (!begins(words[1], "show", 2))
        return usage_and_fail();
    else if (get_host_traffic(host, counter, &seen) == LIBKX_RET_OK)
        show_traffic("host", host, seen);
    return 0;
}

// host <host> (add|del|counter) ...
static int test_host(int count, const char *const *words)
{
    u32 number = 0;
    if (count < 2)
        return usage_and_fail();
    if (parse_u32(words[1], &number, 1, LIBKX_HOST_LAST) != 0)
        return -1;
    if (count < 3)
        return usage_and_fail();
    const int host = static_cast<int>(number);
    if (equals(words[2], "add") && count >= 9)
        return add_host(host, words + 3);
    // kept: the usage says "delete", but only "del" is taken
    if (equals(words[2], "del") && count >= 6)
        return delete_host(host, words + 3);
    if (begins(words[2], "counter", 2) && count >= 5)
        return host_counter(host, words + 3);
    return usage_and_fail();
}

static int show_wan(const char *name)
{
    uint64_t upPkt = 0;
    uint64_t upBytes = 0;
    uint64_t downPkt = 0;
    uint64_t downBytes = 0;
    if (libkx_netApi_getWanStats(name, &upPkt, &upBytes, &downPkt, &downBytes) != LIBKX_RET_OK)
        return 0; // kept: silent
    print("wan %s: upPkts=%lld, upBytes=%lld, downPkts=%lld, downBytes=%lld \n", name, static_cast<long long>(upPkt),
          static_cast<long long>(upBytes), static_cast<long long>(downPkt), static_cast<long long>(downBytes));
    return 0;
}

static int limit_wan(const char *name, const char *up, const char *down)
{
    u32 upLimit = 0;
    u32 downLimit = 0;
    if (parse_u32(up, &upLimit, 0, limit_maximum) != 0 || parse_u32(down, &downLimit, 0, limit_maximum) != 0 ||
        libkx_netApi_setWanRateLimit(name, upLimit, downLimit) != LIBKX_RET_OK)
        return usage_and_fail();
    return 0;
}

// wan <device> (counter | rate <up limit> <down limit>)
static int test_wan(int count, const char *const *words)
{
    if (count <= 2)
        return 0; // kept: silent
    // kept: a name of 16 characters passes, unlike in a rule
    if (strlen(words[1]) > KXQOS_DEVICE_NAME_SIZE)
        return usage_and_fail();
    if (begins(words[2], "counter", 2))
        return show_wan(words[1]);
    if (begins(words[2], "rate", 4) && count >= 5)
        return limit_wan(words[1], words[3], words[4]);
    return usage_and_fail();
}

int do_test_command(int count, const char *const *words)
{
    expect_output();
    if (begins(words[0], "osgi", 2))
        return test_osgi(count, words);
    if (begins(words[0], "host", 2))
        return test_host(count, words);
    if (begins(words[0], "wan", 2))
        return test_wan(count, words);
    if (begins(words[0], "api", 2)) {
        libkx_qos_api_test_example();
        return 0;
    }
    return usage_and_fail();
}
