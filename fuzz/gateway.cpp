#include "gateway.h"

#include "action_fields.h"
#include "commands.h"
#include "device.h"
#include "libkx.h"
#include "match_fields.h"
#include "output.h"

#include <algorithm>
#include <iterator>
#include <sanitizer/asan_interface.h>
#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

gateway_t gateway;
bool walkCut;
bool ruleReturned;

void check(bool condition, const char *what)
{
    if (condition)
        return;
    fprintf(stderr, "FINDING: %s\n", what);
    abort();
}

// Standard output

static char printed[1 << 16];
static size_t printedSize;

static ssize_t keep(void * /*cookie*/, const char *text, size_t size)
{
    // What does not fit is dropped: no check needs so much.
    const size_t room = sizeof printed - printedSize;
    memcpy(printed + printedSize, text, size < room ? size : room);
    printedSize += size < room ? size : room;
    return static_cast<ssize_t>(size);
}

// Before any input, because the tool gives its stream a buffer only once.
static const bool captured = [] {
    cookie_io_functions_t functions = {};
    functions.write = keep;
    stdout = fopencookie(nullptr, "w", functions);
    return stdout != nullptr;
}();

std::string_view output()
{
    fflush(stdout);
    return {printed, printedSize};
}

void forget_output()
{
    check(captured, "no stream");
    fflush(stdout);
    printedSize = 0;
}

// Answers

static size_t position;
static int steps;
static int entries;       // of one walk
static uint32_t walkedBy; // the request
static jmp_buf cutOff;

// The answer to one event: its result, and the bytes that it writes to size bytes at record.
static int answer(void *record, size_t size)
{
    if (++steps > answers_enough) {
        walkCut = true;
        longjmp(cutOff, 1);
    }
    const bytes prepared = gateway.answers;
    if (position == prepared.size() && gateway.after == tail::repeat)
        position = 0;
    int result = 0;
    if (position == prepared.size()) {
        switch (gateway.after) {
        case tail::failure:
            result = -1;
            break;
        case tail::positive:
            result = 7;
            break;
        case tail::echo:
            break;
        default:
            memset(record, 0, size);
            break;
        }
    } else {
        const uint8_t control = prepared[position++];
        // Most answers are successes, so that long sequences are not cut short.
        result = control == 0xFF ? -1 : control >= 0xF0 ? control - 0xEF : 0;
        const size_t have = prepared.size() - position;
        const size_t copied = have < size ? have : size;
        if (copied != 0 && (control & 1) == 0) { // odd: the record stays as it was sent
            memset(record, 0, size);
            memcpy(record, prepared.data() + position, copied);
            position += copied;
        }
    }
    gateway.allSucceeded = gateway.allSucceeded && result == 0;
    return result;
}

// Whether a walk, by this request, has had its entries and is to be told that there are no more.
static bool walk_ends(uint32_t nr, bool entry)
{
    if (walkedBy != nr)
        entries = 0;
    walkedBy = nr;
    entries += entry ? 1 : 0;
    return entries > entries_enough;
}

// Rules as they may be sent

// From the tool's own table, which the unit tests hold to one that was typed anew. An IPv4 address fills a part of its
// member.
static size_t size_of(const match_field &row)
{
    return row.kind == match_kind::ipv4 ? sizeof(uint32_t) : row.size;
}

static uint32_t bits(const uint8_t (&set)[4])
{
    return static_cast<uint32_t>(set[0]) | static_cast<uint32_t>(set[1]) << 8 | static_cast<uint32_t>(set[2]) << 16 |
           static_cast<uint32_t>(set[3]) << 24;
}

static bool has(uint32_t set, int bit)
{
    return (set >> bit & 1) != 0;
}

// Marks each byte of the record by how many selected fields use it. withMask: the protocol bits' mask, too.
static void mark_used(const kxqos_rule_t &rule, bool withMask, uint8_t (&used)[sizeof(kxqos_rule_t)])
{
    memset(used, 0, sizeof used);
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        if (!has(bits(rule.fieldSel), field))
            continue;
        const match_field &row = match_fields[field];
        for (size_t i = row.offset; i < row.offset + size_of(row); i++) {
            used[i]++;
            if (has_mask(row) && (withMask || field != KXQOS_MATCH_IPPROTO_BITS))
                used[i + mask_distance]++;
        }
    }
}

bool shares_storage(const kxqos_rule_t &rule)
{
    uint8_t used[sizeof rule];
    mark_used(rule, true, used);
    return std::any_of(std::begin(used), std::end(used), [](uint8_t users) { return users > 1; });
}

static uint32_t number_at(const kxqos_rule_t &rule, size_t offset, size_t size)
{
    uint32_t number = 0;
    memcpy(&number, reinterpret_cast<const char *>(&rule) + offset, size);
    return number;
}

static void check_name(const char (&name)[KXQOS_DEVICE_NAME_SIZE])
{
    const size_t length = strnlen(name, sizeof name);
    check(length < sizeof name, "a device name without its terminator is sent");
    for (size_t i = length; i < sizeof name; i++)
        check(name[i] == '\0', "something after a device name is sent");
}

// The value and the mask of a field that has its storage for itself.
static void check_value(const kxqos_rule_t &rule, int field)
{
    const match_field &row = match_fields[field];
    const size_t size = size_of(row);
    const char *value = reinterpret_cast<const char *>(&rule) + row.offset;
    const char *mask = value + mask_distance;
    const bool range = has(bits(rule.fieldMode), field);
    if (!has_mask(row)) {
        check(!range, "a range of a field that has none is sent");
    } else if (row.maximum != 0) {
        const uint32_t number = number_at(rule, row.offset, size);
        const uint32_t other = number_at(rule, row.offset + mask_distance, size);
        check(number <= row.maximum, "a number beyond its maximum is sent");
        check(!range || (number <= other && other <= row.maximum), "an invalid range is sent");
        check(range || field == KXQOS_MATCH_IPPROTO_BITS || other <= 0xFFFF, "a mask beyond its maximum is sent");
    } else if (!range) {
        for (size_t i = 0; i < size; i++)
            check((value[i] & ~mask[i]) == 0, "bits of an address outside its mask are sent");
    } else if (size == 4) {
        check(number_at(rule, row.offset, 4) <= number_at(rule, row.offset + mask_distance, 4),
              "an invalid IPv4 range is sent");
    } else if (size == 16) {
        check(memcmp(value, mask, 14) == 0 && memcmp(value + 14, mask + 14, 2) <= 0, "an invalid IPv6 range is sent");
    }
}

static void check_ids(const kxqos_rule_t &rule)
{
    static constexpr uint16_t highest[] = {KXQOS_PROFILES(KXQOS_HIGHEST_RULE)};
    check(rule.table_id < KXQOS_PROFILE_MAX, "an invalid profile is sent");
    check(rule.rule_id >= 1 && rule.rule_id <= 4096, "an invalid rule id is sent");
    // Profile 0 cannot be given by number, and so cannot be beyond its limit.
    check(rule.table_id != 0 || rule.rule_id <= highest[0], "a rule id beyond the limit of its profile is sent");
}

static void check_only_ids(const kxqos_rule_t &rule)
{
    kxqos_rule_t expected = {};
    expected.table_id = rule.table_id;
    expected.rule_id = rule.rule_id;
    check(memcmp(&rule, &expected, sizeof rule) == 0, "more than the ids of a rule is sent");
}

static void check_rule(const kxqos_rule_t &rule)
{
    const uint32_t selected = bits(rule.fieldSel);
    const uint32_t flags = rule.action.actionFlag;
    check_ids(rule);
    check(uint64_t{selected} >> KXQOS_MATCH_MAX == 0, "a bit that is no field is selected");
    check((bits(rule.fieldMode) & ~selected) == 0, "the mode of a field that is not selected is sent");
    check((bits(rule.fieldInverse) & ~selected) == 0, "a field that is not selected is inverted");
    check_name(rule.inDev);
    check_name(rule.outDev);
    check_name(rule.wanDev);

    uint8_t used[sizeof rule];
    mark_used(rule, true, used);
    used[0] = used[1] = used[2] = used[3] = 1; // the ids
    const auto *raw = reinterpret_cast<const uint8_t *>(&rule);
    for (size_t i = 0; i < offsetof(kxqos_rule_t, fieldInverse); i++)
        check(used[i] != 0 || raw[i] == 0, "a byte that no field uses is sent");
    for (size_t i = offsetof(kxqos_rule_t, action) + sizeof rule.action; i < sizeof rule; i++)
        check(raw[i] == 0, "a counter or padding is sent");
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        bool alone = has(selected, field);
        const match_field &row = match_fields[field];
        for (size_t i = row.offset; i < row.offset + size_of(row); i++)
            alone = alone && used[i] == 1;
        if (alone)
            check_value(rule, field);
    }

    constexpr uint32_t egress = 0x1F800000; // outdev, wan and the four egress fields
    check(uint64_t{flags} >> KXQOS_ACTION_MAX == 0, "a bit that is no action is sent");
    check(!has(flags, KXQOS_ACTION_SKB_DBG_ON) || (selected & egress) == 0, "dbgon on an egress field is sent");
    for (int action = 0; action < KXQOS_ACTION_MAX; action++) {
        const action_field &row = action_fields[action];
        check(row.keyword[0] != '\0' || !has(flags, action), "an action that no command sets is sent");
        if (row.size == 0)
            continue;
        const uint32_t value = action_value(&rule.action, row);
        if (has(flags, action))
            check(value >= row.minimum && value <= row.maximum, "a parameter of an action is out of its range");
        else
            check(value == 0, "a parameter without its action is sent");
    }
}

// Rules as they are returned: whatever the record does not use may hold anything, and nobody can tell from the output.
static void blur(kxqos_rule_t *rule)
{
    uint8_t used[sizeof *rule];
    mark_used(*rule, false, used);
    auto *raw = reinterpret_cast<uint8_t *>(rule);
    for (size_t i = offsetof(kxqos_rule_t, field); i < offsetof(kxqos_rule_t, fieldInverse); i++)
        if (used[i] == 0)
            raw[i] = 0x5A;
    for (auto *name : {rule->inDev, rule->outDev, rule->wanDev}) {
        const size_t length = strnlen(name, KXQOS_DEVICE_NAME_SIZE);
        if (length < KXQOS_DEVICE_NAME_SIZE)
            memset(name + length + 1, 0x5A, KXQOS_DEVICE_NAME_SIZE - length - 1);
    }
    for (int action = 0; action < KXQOS_ACTION_MAX; action++) {
        const action_field &row = action_fields[action];
        if (!has(rule->action.actionFlag, action))
            memset(raw + offsetof(kxqos_rule_t, action) + row.offset, 0x5A, row.size);
    }
    memset(raw + 228, 0x5A, 4); // padding
}

// Databases

static kxqos_rl_ioctl_t readHalves[2];
static int halvesRead;    // in a row, with success
static int halvesWritten; // likewise

static void check_limit_get(const kxqos_rl_ioctl_t &half)
{
    kxqos_rl_ioctl_t expected = {};
    if (half.secondPart == 0) {
        halvesRead = 0;
        expected.upDir = half.upDir;
    } else {
        check(halvesRead == 1, "the second half is asked for before the first");
        expected = readHalves[0]; // the first answer, with only its part changed
        expected.secondPart = 1;
    }
    check(half.secondPart <= 1 && memcmp(&half, &expected, sizeof half) == 0, "a read of a database is malformed");
}

// Returns whether it is as it was read.
static bool check_limit_set(const kxqos_rl_ioctl_t &half)
{
    check(halvesRead == 2, "a database is written that was not read");
    check(half.secondPart == halvesWritten, "the halves are written out of order, or after a failure");
    check(half.upDir <= 1, "an invalid direction is sent");
    check(half.reserved == 0, "reserved bytes are sent");
    check(half.mode < RATELIMIT_MODE_MAX || half.mode == readHalves[0].mode, "an invalid mode is sent");
    const kxqos_rl_ioctl_t &read = readHalves[half.secondPart];
    return half.mode == readHalves[0].mode && memcmp(half.ipRule, read.ipRule, sizeof half.ipRule) == 0 &&
           memcmp(half.vlanRule, read.vlanRule, sizeof half.vlanRule) == 0 &&
           memcmp(half.portRule, read.portRule, sizeof half.portRule) == 0;
}

// The seam to the kernel

static uint32_t debugFlags;
static bool debugRead;

static void check_bucket(const kxqos_rate_bucket_t &bucket, bool rated)
{
    check(bucket.bucketID >= 1 && bucket.bucketID <= KXQOS_BUCKET_LAST, "an invalid bucket is sent");
    check(bucket.hwBucketID == 0 && bucket.tocken == 0, "the module's part of a bucket is sent");
    check(rated || bucket.rateLimit == 0, "a rate is sent that nobody asked for");
    check(bucket.rateLimit % KXQOS_RATE_UNITS == 0 && bucket.rateLimit / KXQOS_RATE_UNITS <= KXQOS_RATE_LAST,
          "an invalid rate is sent");
}

static void check_counter(const kxqos_counter_info_s &info)
{
    kxqos_counter_info_s expected;
    memset(&expected, 0, sizeof expected);
    expected.counterID = info.counterID;
    check(info.counterID >= 1 && info.counterID <= KXQOS_COUNTER_LAST, "an invalid counter is sent");
    check(memcmp(&info, &expected, sizeof info) == 0, "more than the number of a counter is sent");
}

template <typename Record> static const Record &record_at(const void *payload)
{
    return *static_cast<const Record *>(payload);
}

static size_t payload_size(uint32_t nr)
{
    switch (nr) {
#define PAYLOAD_SIZE(name, number, payload) \
    case number: \
        return sizeof(payload);
        KXQOS_REQUESTS(PAYLOAD_SIZE) // NOLINT(bugprone-branch-clone): payloads may have one size
#undef PAYLOAD_SIZE
    default:
        check(false, "a request that there is not is sent");
        return 0;
    }
}

// Requests that change something whatever they say; a database may be written back as it was.
static bool changes_something(uint32_t nr)
{
    static constexpr uint32_t changes[] = {
        KXQOS_RULE_ADD,       KXQOS_RULE_DELETE,     KXQOS_RULE_RESET,        KXQOS_BUCKET_SET, KXQOS_BUCKET_DELETE,
        KXQOS_COUNTER_ENABLE, KXQOS_COUNTER_DISABLE, KXQOS_COUNTER_CLEAR,     KXQOS_STATE_SET,  KXQOS_PURE_DSCP_SET,
        KXQOS_REFRESH_SET,    KXQOS_DEBUG_SET,       KXQOS_FINE_CLASSIFY_SET,
    };
    return std::find(std::begin(changes), std::end(changes), nr) != std::end(changes);
}

static void check_rule_request(uint32_t nr, const kxqos_rule_t &rule)
{
    if (nr == KXQOS_RULE_ADD) {
        check_rule(rule);
        gateway.ruleAdded = true;
        gateway.rule = rule;
    } else if (nr == KXQOS_RULE_RESET) {
        check(rule.table_id < KXQOS_PROFILE_MAX, "an invalid profile is reset");
        check(rule.rule_id == 0, "a rule id is sent with a reset");
        check_only_ids(rule);
    } else {
        check_ids(rule);
        check_only_ids(rule);
    }
}

// Checks what is sent, and counts it.
static void look_at_request(uint32_t nr, const void *payload)
{
    gateway.changes += changes_something(nr) ? 1 : 0;
    switch (nr) {
    case KXQOS_RULE_ADD:
    case KXQOS_RULE_DELETE:
    case KXQOS_RULE_GET:
    case KXQOS_RULE_RESET:
        check_rule_request(nr, record_at<kxqos_rule_t>(payload));
        break;
    case KXQOS_BUCKET_SET:
    case KXQOS_BUCKET_DELETE:
    case KXQOS_BUCKET_GET:
        check_bucket(record_at<kxqos_rate_bucket_t>(payload), nr == KXQOS_BUCKET_SET);
        break;
    case KXQOS_COUNTER_DISABLE:
    case KXQOS_COUNTER_ENABLE:
    case KXQOS_COUNTER_CLEAR:
    case KXQOS_COUNTER_GET:
        check_counter(record_at<kxqos_counter_info_s>(payload));
        break;
    case KXQOS_RATE_LIMIT_SET:
        gateway.changes += check_limit_set(record_at<kxqos_rl_ioctl_t>(payload)) ? 0 : 1;
        break;
    case KXQOS_RATE_LIMIT_GET:
        check_limit_get(record_at<kxqos_rl_ioctl_t>(payload));
        break;
    case KXQOS_STATE_SET:
    case KXQOS_PURE_DSCP_SET:
    case KXQOS_FINE_CLASSIFY_SET:
    case KXQOS_REFRESH_SET:
        check(record_at<uint32_t>(payload) <= 1, "a switch is neither on nor off");
        break;
    case KXQOS_DEBUG_SET:
        check(debugRead, "debug flags are written that were not read");
        check((record_at<uint32_t>(payload) & ~0x1FFU) == (debugFlags & ~0x1FFU), "foreign debug flags are changed");
        break;
    case KXQOS_DEBUG_GET:
    case KXQOS_DEBUG_SHOW:
    case KXQOS_STATE_GET:
    case KXQOS_PURE_DSCP_GET:
    case KXQOS_FINE_CLASSIFY_GET:
        check(record_at<uint32_t>(payload) == 0, "a read is sent with more than zero");
        break;
    default: // a cursor, or nothing that is read
        break;
    }
}

// Remembers what later requests must be in keeping with.
static void remember_answer(uint32_t nr, void *payload, uint32_t part, int result)
{
    if (nr == KXQOS_DEBUG_GET && result == 0) {
        debugRead = true;
        memcpy(&debugFlags, payload, sizeof debugFlags);
    } else if (nr == KXQOS_RATE_LIMIT_GET && result == 0) {
        memcpy(&readHalves[part], payload, sizeof readHalves[part]);
        halvesRead++;
    } else if (nr == KXQOS_RATE_LIMIT_SET) {
        halvesWritten = result == 0 ? halvesWritten + 1 : 100;
    } else if (nr == KXQOS_RULE_GET || nr == KXQOS_RULE_NEXT) {
        ruleReturned = true;
        if (gateway.blur)
            blur(static_cast<kxqos_rule_t *>(payload));
    }
}

int kxqosctl_ioctl(uint32_t cmd, void *payload)
{
    gateway.requests++;
    check(cmd >> 8 == KXQOS_REQUEST_BASE >> 8, "a request has a wrong encoding");
    const uint32_t nr = cmd & 0xFF;
    const size_t size = payload_size(nr);
    look_at_request(nr, payload);
    const uint32_t part = nr == KXQOS_RATE_LIMIT_GET ? record_at<kxqos_rl_ioctl_t>(payload).secondPart : 0;
    const int result = answer(payload, size);
    if ((nr == KXQOS_RULE_NEXT && walk_ends(nr, record_at<kxqos_rule_t>(payload).rule_id != 0)) ||
        (nr == KXQOS_BUCKET_NEXT && walk_ends(nr, record_at<kxqos_rate_bucket_t>(payload).bucketID != 0)))
        memset(payload, 0, size);
    remember_answer(nr, payload, part, result);
    return result;
}

// The library

template <typename... Outputs> static libkx_retCode_t call(Outputs *...outputs)
{
    gateway.libraryCalls++;
    // Each output gets its bytes; a library that fails may have written all the same.
    int result = 0;
    if constexpr (sizeof...(Outputs) == 0) {
        uint8_t nothing = 0;
        result = answer(&nothing, 0);
    } else {
        ((result = answer(outputs, sizeof *outputs)), ...);
    }
    return static_cast<libkx_retCode_t>(result < 0 ? LIBKX_RET_FAIL : result & 7);
}

static void check_switch(uint32_t direction, uint32_t enable)
{
    check(direction <= 1 && enable <= 1, "an invalid direction or state is sent to the switch");
}

static void check_id(int id)
{
    check(id >= 0 && id <= LIBKX_ID_LAST, "a number of the library's beyond its range is sent");
}

// Touches all that the library may read, for the sanitizer to see.
static void check_name(const char *name)
{
    check(strlen(name) <= KXQOS_DEVICE_NAME_SIZE, "an interface name is too long");
}

static void check_mac(const unsigned char *mac)
{
    unsigned char copy[6];
    memcpy(copy, mac, sizeof copy);
}

libkx_retCode_t libkx_switchApi_ipv4SetRateLimit(uint32_t, uint32_t, uint32_t direction, uint32_t enable, uint32_t)
{
    check_switch(direction, enable);
    return call();
}

libkx_retCode_t libkx_switchApi_ipv6SetRateLimit(in6_addr, in6_addr, uint32_t direction, uint32_t enable, uint32_t)
{
    check_switch(direction, enable);
    return call();
}

libkx_retCode_t libkx_switchApi_vlanSetRateLimit(uint16_t, uint32_t direction, uint32_t enable, uint32_t)
{
    check_switch(direction, enable);
    return call();
}

libkx_retCode_t libkx_switchApi_portSetRateLimit(uint16_t, uint32_t direction, uint32_t enable, uint32_t)
{
    check_switch(direction, enable);
    return call();
}

libkx_retCode_t libkx_qos_OSGI_getCounterByFlow(int flow, int counter, uint64_t *upPkts, uint64_t *upBytes,
                                                uint32_t *upSpeed, uint64_t *downPkts, uint64_t *downBytes,
                                                uint32_t *downSpeed)
{
    check(flow >= 0 && flow <= LIBKX_FLOW_LAST, "an invalid flow is sent");
    check_id(counter);
    return call(upPkts, upBytes, upSpeed, downPkts, downBytes, downSpeed);
}

libkx_retCode_t libkx_qos_OSGI_clearCounterByFlow(int flow, int counter)
{
    check(flow >= 0 && flow <= LIBKX_FLOW_LAST, "an invalid flow is sent");
    check_id(counter);
    return call();
}

static void check_host(int host)
{
    check(host >= 1 && host <= LIBKX_HOST_LAST, "an invalid host is sent");
}

libkx_retCode_t libkx_qos_hostEntryAdd(int host, const unsigned char *mac, int statsEnable, uint32_t upLimit,
                                       uint32_t downLimit, int *bucket, int *counter)
{
    check_host(host);
    check_mac(mac);
    check(statsEnable == 0 || statsEnable == 1, "statistics are neither on nor off");
    check(upLimit <= 10000000 && downLimit <= 10000000, "a limit beyond its maximum is sent");
    check_id(*bucket);
    check_id(*counter);
    return call(bucket, counter);
}

libkx_retCode_t libkx_qos_hostEntryDel(int host, const unsigned char *mac, int *bucket, int *counter)
{
    check_host(host);
    check_mac(mac);
    check_id(*bucket);
    check_id(*counter);
    return call(bucket, counter);
}

libkx_retCode_t libkx_qos_hostCounterGet(int host, int counter, uint64_t *upPkts, uint64_t *upBytes, uint32_t *upSpeed,
                                         uint64_t *downPkts, uint64_t *downBytes, uint32_t *downSpeed)
{
    check_host(host);
    check_id(counter);
    return call(upPkts, upBytes, upSpeed, downPkts, downBytes, downSpeed);
}

libkx_retCode_t libkx_qos_hostCounterClear(int host, int counter)
{
    check_host(host);
    check_id(counter);
    return call();
}

libkx_retCode_t libkx_netApi_getWanStats(const char *ifName, uint64_t *upPkt, uint64_t *upBytes, uint64_t *downPkt,
                                         uint64_t *downBytes)
{
    check_name(ifName);
    return call(upPkt, upBytes, downPkt, downBytes);
}

libkx_retCode_t libkx_netApi_setWanRateLimit(const char *ifName, uint32_t upLimit, uint32_t downLimit)
{
    check_name(ifName);
    check(upLimit <= 10000000 && downLimit <= 10000000, "a limit beyond its maximum is sent");
    return call();
}

libkx_retCode_t libkx_qos_create_counter(int *counterID)
{
    return call(counterID);
}

int libkx_qos_is_counter_created(int)
{
    return call();
}

libkx_retCode_t libkx_qos_get_counter(int, uint64_t *pkts, uint64_t *bytes, uint32_t *speed)
{
    return call(pkts, bytes, speed);
}

libkx_retCode_t libkx_qos_clear_counter(int)
{
    return call();
}

libkx_retCode_t libkx_qos_delete_counter(int)
{
    return call();
}

libkx_retCode_t libkx_qos_create_bucket(int *bucketID, uint32_t)
{
    return call(bucketID);
}

int libkx_qos_is_bucket_created(int)
{
    return call();
}

libkx_retCode_t libkx_qos_get_bucket(int, uint32_t *rate)
{
    return call(rate);
}

libkx_retCode_t libkx_qos_set_bucket(int, uint32_t)
{
    return call();
}

libkx_retCode_t libkx_qos_delete_bucket(int)
{
    return call();
}

libkx_retCode_t libkx_qos_add_rule(libkx_qos_rule_s *rule)
{
    return call(rule);
}

libkx_retCode_t libkx_qos_get_rule(libkx_qos_rule_s *rule)
{
    return call(rule);
}

libkx_retCode_t libkx_qos_delete_rule(uint16_t, uint16_t)
{
    return call();
}

libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule)
{
    const libkx_retCode_t result = call(rule);
    return walk_ends(0, result == LIBKX_RET_OK) ? LIBKX_RET_FAIL : result;
}

// Runs

const words_t &split(std::string_view text, char separator)
{
    constexpr size_t words_enough = 40;
    static words_t words; // an allocation costs as much as many a command
    words.clear();
    while (!text.empty() && words.size() < words_enough) {
        const size_t end = text.find(separator);
        words.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return words;
}

char **arguments(std::span<const std::string_view> words)
{
    constexpr size_t grain = 8; // of the sanitizer
    static std::vector<char *> argv;
    alignas(grain) static char storage[1 << 14];
    argv.clear();
    ASAN_POISON_MEMORY_REGION(storage, sizeof storage);
    size_t at = grain;
    for (const std::string_view word : words) {
        // An input's word has no NUL in it.
        const size_t size = word.size() + 1;
        const size_t next = at + (size + 2 * grain - 1) / grain * grain;
        check(next <= sizeof storage, "more words than there is room for");
        ASAN_UNPOISON_MEMORY_REGION(storage + at, size);
        word.copy(storage + at, word.size());
        storage[at + word.size()] = '\0';
        argv.push_back(storage + at);
        at = next;
    }
    argv.push_back(nullptr);
    return argv.data();
}

int run_tool(const words_t &words, bytes answers, tail after, bool blurred)
{
    gateway = {};
    gateway.answers = answers;
    gateway.after = after;
    gateway.blur = blurred;
    position = 0;
    steps = 0;
    entries = 0;
    walkedBy = 0;
    halvesRead = halvesWritten = 0;
    debugRead = false;
    walkCut = false;
    ruleReturned = false;
    forget_output();

    char **argv = arguments(words);
    volatile int result = 0;
    if (setjmp(cutOff) == 0) {
        result = run_command(static_cast<int>(words.size()), argv);
        if (finish_output() != 0)
            result = -1;
    }
    return result;
}
