// The match keywords, typed here once more so that the tool's own table has something to disagree with: how each may be
// spelt, where its value and mask stand in a rule, and which bits it sets.

#include "match_fields.h"
#include "rule_parse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Keyword {
    const char *word;
    const char *shortest; // the shortest spelling that is this keyword
    const char *refused;  // the first shorter one that is no keyword at all
    bool whole;           // whether anything after the word makes it another
    unsigned number;
    const char *value;
    size_t offset;           // of the value in a rule; its mask stands 72 further
    const char *value_bytes; // hexadecimal
    const char *mask_bytes;
};

constexpr Keyword keywords[] = {
    {"dmac", "dm", "d", false, 0, "02:11:22:33:44:55", 4, "021122334455", "ffffffffffff"},
    {"smac", "sm", "s", false, 1, "02:66:77:88:99:aa", 10, "0266778899aa", "ffffffffffff"},
    {"ethertype", "et", "e", false, 2, "0x0102", 16, "0201", "ffff"},
    {"tpid", "tp", "t", false, 3, "0x0304", 18, "0403", "ffff"},
    {"vid", "vi", "v", false, 4, "0x0506", 20, "0605", "ffff"},
    {"pri", "pri", "pr", false, 5, "3", 24, "03", "ff"},
    {"ivid", "iv", "i", false, 6, "0x0708", 22, "0807", "ffff"},
    {"ipri", "ip", "i", false, 7, "4", 25, "04", "ff"},
    {"dip", "dip", "di", true, 8, "9.10.11.12", 44, "0c0b0a09", "ffffffff"},
    {"sip", "sip", "si", true, 9, "13.14.15.16", 28, "100f0e0d", "ffffffff"},
    {"dip6", "dip6", "di", true, 10, "1112:1314:1516:1718:191a:1b1c:1d1e:1f20", 44, "1112131415161718191a1b1c1d1e1f20",
     "ffffffffffffffffffffffffffffffff"},
    {"sip6", "sip6", "si", true, 11, "2122:2324:2526:2728:292a:2b2c:2d2e:2f30", 28, "2122232425262728292a2b2c2d2e2f30",
     "ffffffffffffffffffffffffffffffff"},
    {"tos", "to", "t", false, 12, "0xa1", 60, "a1", "ff"},
    {"dscp", "ds", "d", false, 13, "0x2a", 61, "2a", "ff"},
    {"pre", "pre", "pr", false, 14, "5", 62, "05", "ff"},
    {"fl", "fl", "f", true, 15, "0x31323", 64, "23130300", "ffff0000"},
    {"tc", "tc", "t", true, 16, "0xa2", 68, "a2", "ff"},
    {"protocol", "pro", "pr", false, 17, "0xa3", 63, "a3", "ff"},
    {"sport", "sp", "s", false, 18, "0x3435", 70, "3534", "ffff"},
    {"dport", "dp", "d", false, 19, "0x3637", 72, "3736", "ffff"},
    {"rxports", "rxp", "rx", false, 20, "0x38393a3b", 148, "3b3a3938", ""},
    {"txports", "txp", "tx", false, 21, "0x3c3d3e3f", 152, "3f3e3d3c", ""},
    {"indev", "in", "i", false, 22, "abcdefghijklmno", 156, "6162636465666768696a6b6c6d6e6f00", ""},
    {"outdev", "ou", "o", false, 23, "bcdefghijklmnop", 172, "62636465666768696a6b6c6d6e6f7000", ""},
    {"wan", "wan", "wa", true, 24, "cdefghijklmnopq", 188, "636465666768696a6b6c6d6e6f707100", ""},
    {"edmac", "edmac", "edma", true, 25, "02:41:42:43:44:45", 4, "024142434445", "ffffffffffff"},
    {"esip", "esip", "esi", true, 26, "71.72.73.74", 28, "4a494847", "ffffffff"},
    {"esip6", "esip6", "esi", true, 27, "5152:5354:5556:5758:595a:5b5c:5d5e:5f60", 28,
     "5152535455565758595a5b5c5d5e5f60", "ffffffffffffffffffffffffffffffff"},
    {"esport", "esport", "espor", true, 28, "0x6162", 70, "6261", "ffff"},
    {"protocols", "protocols", "pr", false, 29, "0xa4", 63, "a4", "ff"},
};
static_assert(std::size(keywords) == KXQOS_MATCH_MAX, "keywords: one row for each of KXQOS_MATCHES");

constexpr size_t inverse_offset = 204;
constexpr size_t mode_offset = 208;
constexpr size_t selected_offset = 212;
constexpr size_t action_flag_offset = 224;
constexpr unsigned queue_flag = 0x01;
constexpr unsigned debug_flag = 0x20;

using Bytes = std::array<unsigned char, sizeof(kxqos_rule_t)>;

struct Parsed {
    int result = 77;
    std::string text;
    Bytes bytes = {};
};

Bytes bytes_of(const kxqos_rule_t &rule)
{
    Bytes bytes = {};
    std::memcpy(bytes.data(), &rule, bytes.size());
    return bytes;
}

// The words are copied into a vector of just their number, so that AddressSanitizer sees a read after the last one.
Parsed parse(const std::vector<const char *> &words, kxqos_rule_t rule = {})
{
    const std::vector<const char *> exact(words.begin(), words.end());
    Parsed parsed;
    testing::internal::CaptureStdout();
    parsed.result = parse_rule_command(static_cast<int>(exact.size()), exact.data(), &rule);
    parsed.text = testing::internal::GetCapturedStdout();
    parsed.bytes = bytes_of(rule);
    return parsed;
}

void put(Bytes &bytes, size_t offset, const std::string &hex)
{
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes[offset + i / 2] = static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16));
}

void set_bit(Bytes &bytes, size_t offset, unsigned number, bool on)
{
    const unsigned bit = 1U << (number % 8);
    unsigned char &byte = bytes[offset + number / 8];
    byte = static_cast<unsigned char>(on ? byte | bit : byte & ~bit);
}

// The rule that a keyword makes of its value.
Bytes expected_rule(const Keyword &keyword, unsigned action_flag)
{
    Bytes bytes = {};
    put(bytes, keyword.offset, keyword.value_bytes);
    put(bytes, keyword.offset + 72, keyword.mask_bytes);
    set_bit(bytes, selected_offset, keyword.number, true);
    bytes[action_flag_offset] = static_cast<unsigned char>(action_flag);
    return bytes;
}

void expect_accepted(const Keyword &keyword, const char *spelling)
{
    SCOPED_TRACE(spelling);
    const Parsed parsed = parse({spelling, keyword.value, "action", "queue", "0"});
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.text, "");
    EXPECT_EQ(parsed.bytes, expected_rule(keyword, queue_flag));
}

void expect_unknown(const Keyword &keyword, const char *spelling)
{
    SCOPED_TRACE(spelling);
    const Parsed parsed = parse({spelling, keyword.value, "action", "queue", "0"});
    EXPECT_EQ(parsed.result, -1);
    EXPECT_EQ(parsed.text, "Err: Unknow command! \n");
    EXPECT_EQ(parsed.bytes, Bytes{});
}

TEST(MatchKeywords, StandInTheOrderOfTheirNumbers)
{
    for (unsigned number = 0; number < KXQOS_MATCH_MAX; number++)
        EXPECT_EQ(keywords[number].number, number);
}

TEST(MatchKeywords, FillTheirPlaceInTheRule)
{
    for (const Keyword &keyword : keywords)
        expect_accepted(keyword, keyword.word);
}

TEST(MatchKeywords, ShortestSpellings)
{
    for (const Keyword &keyword : keywords)
        expect_accepted(keyword, keyword.shortest);
}

TEST(MatchKeywords, FirstRefusedSpellings)
{
    for (const Keyword &keyword : keywords)
        expect_unknown(keyword, keyword.refused);
}

TEST(MatchKeywords, LongerSpellings)
{
    for (const Keyword &keyword : keywords) {
        const std::string longer = std::string(keyword.word) + "x";
        if (keyword.whole)
            expect_unknown(keyword, longer.c_str());
        else
            expect_accepted(keyword, longer.c_str());
    }
}

// Between a keyword and its shortest spelling every length is the keyword.
TEST(MatchKeywords, EverySpellingBetween)
{
    for (const Keyword &keyword : keywords) {
        const std::string word = keyword.word;
        for (size_t length = std::strlen(keyword.shortest); length < word.size(); length++)
            expect_accepted(keyword, word.substr(0, length).c_str());
    }
}

TEST(MatchKeywords, SpellingsThatAreAnotherKeyword)
{
    expect_accepted(keywords[KXQOS_MATCH_INDEV], "invirtdev");
    expect_accepted(keywords[KXQOS_MATCH_IPPROTO], "protoco");
    expect_accepted(keywords[KXQOS_MATCH_IPPROTO], "protocolx");
    expect_accepted(keywords[KXQOS_MATCH_INNERPRI], "ipv6");
    expect_accepted(keywords[KXQOS_MATCH_DSCP], "dstport");
    expect_accepted(keywords[KXQOS_MATCH_SIPV4], "sip");
    expect_accepted(keywords[KXQOS_MATCH_DIPV4], "dip");
    expect_accepted(keywords[KXQOS_MATCH_EGR_SIPV4], "esip");
}

// A keyword writes its own three bits, whatever they were, and no others. Only protocols leaves its range bit alone.
TEST(MatchKeywords, WriteOnlyTheirOwnBits)
{
    kxqos_rule_t full = {};
    std::memset(full.fieldInverse, 0xff, sizeof full.fieldInverse);
    std::memset(full.fieldMode, 0xff, sizeof full.fieldMode);
    std::memset(full.fieldSel, 0xff, sizeof full.fieldSel);
    for (const Keyword &keyword : keywords) {
        SCOPED_TRACE(keyword.word);
        Bytes expected = bytes_of(full);
        put(expected, keyword.offset, keyword.value_bytes);
        put(expected, keyword.offset + 72, keyword.mask_bytes);
        expected[action_flag_offset] = queue_flag;
        set_bit(expected, inverse_offset, keyword.number, false);
        set_bit(expected, mode_offset, keyword.number, keyword.number == KXQOS_MATCH_IPPROTO_BITS);
        EXPECT_EQ(parse({keyword.word, keyword.value, "action", "queue", "0"}, full).bytes, expected);
    }
}

TEST(MatchKeywords, InverseSetsOneBit)
{
    for (const Keyword &keyword : keywords) {
        // The "!" is counted among the 15 characters of a device name.
        const bool device = keyword.number >= KXQOS_MATCH_INDEV && keyword.number <= KXQOS_MATCH_WANDEV;
        Bytes expected = expected_rule(keyword, queue_flag);
        if (device)
            expected[keyword.offset + 14] = 0;
        set_bit(expected, inverse_offset, keyword.number, true);
        const std::string value = "!" + std::string(keyword.value).substr(0, device ? 14 : std::string::npos);
        SCOPED_TRACE(keyword.word);
        EXPECT_EQ(parse({keyword.word, value.c_str(), "action", "queue", "0"}).bytes, expected);
    }
}

// A range is marked for every field that has one, but for protocols and the port maps.
TEST(MatchKeywords, RangesSetOneBit)
{
    for (const Keyword &keyword : keywords) {
        SCOPED_TRACE(keyword.word);
        const bool device = keyword.number >= KXQOS_MATCH_INDEV && keyword.number <= KXQOS_MATCH_WANDEV;
        const bool port_map = keyword.number == KXQOS_MATCH_RXPORT || keyword.number == KXQOS_MATCH_TXPORT;
        if (device)
            continue;
        const std::string range = std::string(keyword.value) + "~" + keyword.value;
        Bytes expected = expected_rule(keyword, queue_flag);
        if (!port_map)
            put(expected, keyword.offset + 72, keyword.value_bytes);
        set_bit(expected, mode_offset, keyword.number, !port_map && keyword.number != KXQOS_MATCH_IPPROTO_BITS);
        EXPECT_EQ(parse({keyword.word, range.c_str(), "action", "queue", "0"}).bytes, expected);
    }
}

struct Maximum {
    const char *word;
    const char *largest;
    const char *beyond;
    const char *range;
};

TEST(MatchKeywords, NumbersHaveTheirMaximum)
{
    constexpr Maximum maxima[] = {
        {"ethertype", "65535", "65536", "0~65535"},
        {"tpid", "65535", "65536", "0~65535"},
        {"vid", "4095", "4096", "0~4095"},
        {"pri", "7", "8", "0~7"},
        {"ivid", "4095", "4096", "0~4095"},
        {"ipri", "7", "8", "0~7"},
        {"tos", "255", "256", "0~255"},
        {"dscp", "63", "64", "0~63"},
        {"pre", "7", "8", "0~7"},
        {"fl", "1048575", "1048576", "0~1048575"},
        {"tc", "255", "256", "0~255"},
        {"protocol", "255", "256", "0~255"},
        {"protocols", "255", "256", "0~255"},
        {"sport", "65535", "65536", "0~65535"},
        {"dport", "65535", "65536", "0~65535"},
        {"esport", "65535", "65536", "0~65535"},
    };
    const auto numbers = std::count_if(std::begin(match_fields), std::end(match_fields), [](const match_field &row) {
        return row.maximum != 0 && row.kind != match_kind::port_map;
    });
    EXPECT_EQ(std::ssize(maxima), numbers) << "maxima: one row for each field that is a number";
    for (const Maximum &maximum : maxima) {
        SCOPED_TRACE(maximum.word);
        EXPECT_EQ(parse({maximum.word, maximum.largest, "action"}).result, 0);
        EXPECT_EQ(parse({maximum.word, "0", "action"}).result, 0);
        const Parsed parsed = parse({maximum.word, maximum.beyond, "action"});
        EXPECT_EQ(parsed.result, -1);
        EXPECT_EQ(parsed.text,
                  std::string("Err: parameter '") + maximum.beyond + "' beyond the range (" + maximum.range + ") \n");
    }
}

TEST(MatchKeywords, DeviceNamesHave15CharactersWithTheMark)
{
    for (const char *word : {"indev", "outdev", "wan"}) {
        SCOPED_TRACE(word);
        for (const char *name : {"abcdefghijklmnop", "!abcdefghijklmno"}) {
            const Parsed parsed = parse({word, name, "action"});
            EXPECT_EQ(parsed.result, -1);
            EXPECT_EQ(parsed.text, "");
            EXPECT_EQ(parsed.bytes, Bytes{});
        }
    }
}

TEST(MatchKeywords, BadAddressesAreReportedInTheIngressFieldsWords)
{
    const auto text = [](const char *word) { return parse({word, "x", "action"}).text; };
    EXPECT_EQ(text("smac"), "Err: smac address format error \n");
    EXPECT_EQ(text("dmac"), "Err: dmac address format error \n");
    EXPECT_EQ(text("edmac"), "Err: dmac address format error \n");
    EXPECT_EQ(text("sip"), "Err: sip address format error \n");
    EXPECT_EQ(text("dip"), "Err: dip address format error \n");
    EXPECT_EQ(text("esip"), "Err: sip address format error \n");
    EXPECT_EQ(text("sip6"), "Invalid IPv6 Address 'x' specifiedErr: sip6 address format error \n");
    EXPECT_EQ(text("dip6"), "Invalid IPv6 Address 'x' specifiedErr: dip6 address format error \n");
    EXPECT_EQ(text("esip6"), "Invalid IPv6 Address 'x' specifiedErr: sip6 address format error \n");
}

TEST(MatchKeywords, WithoutAValueAreRefusedAndNothingBehindIsRead)
{
    for (const Keyword &keyword : keywords) {
        SCOPED_TRACE(keyword.word);
        const Parsed parsed = parse({keyword.word});
        EXPECT_EQ(parsed.result, -1);
        EXPECT_EQ(parsed.bytes[selected_offset + keyword.number / 8], 0);
    }
}

TEST(MatchKeywords, WithoutAnActionAreRefusedSilently)
{
    for (const Keyword &keyword : keywords) {
        SCOPED_TRACE(keyword.word);
        const Parsed parsed = parse({keyword.word, keyword.value});
        EXPECT_EQ(parsed.result, -1);
        EXPECT_EQ(parsed.text, "");
    }
}

TEST(MatchBlock, NoWordsAreRefusedSilently)
{
    kxqos_rule_t rule = {};
    testing::internal::CaptureStdout();
    EXPECT_EQ(parse_rule_command(0, nullptr, &rule), -1);
    EXPECT_EQ(parse_rule_command(-1, nullptr, &rule), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(bytes_of(rule), Bytes{});
}

TEST(MatchBlock, ActionFirstIsRefusedSilently)
{
    for (const auto &words : {std::vector<const char *>{"action"}, std::vector<const char *>{"action", "queue", "3"}}) {
        const Parsed parsed = parse(words);
        EXPECT_EQ(parsed.result, -1);
        EXPECT_EQ(parsed.text, "");
        EXPECT_EQ(parsed.bytes, Bytes{});
    }
}

TEST(MatchBlock, AnEmptyListOfActionsIsAccepted)
{
    const Parsed parsed = parse({"vid", "0x0506", "action"});
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.bytes, expected_rule(keywords[KXQOS_MATCH_VID], 0));
}

TEST(MatchBlock, ABadActionIsItsResult)
{
    const Parsed parsed = parse({"vid", "1", "action", "jump"});
    EXPECT_EQ(parsed.result, -1);
    EXPECT_EQ(parsed.text, "Err: unknown action jump! \n");
}

// The actions know what was matched: nothing can be debugged that is only known on the way out.
TEST(MatchBlock, DebugIsRefusedForEgressFields)
{
    for (const Keyword &keyword : keywords) {
        SCOPED_TRACE(keyword.word);
        const bool egress = keyword.number >= KXQOS_MATCH_OUTDEV && keyword.number <= KXQOS_MATCH_EGR_L4SRCPORT;
        const Parsed parsed = parse({keyword.word, keyword.value, "action", "dbgon"});
        EXPECT_EQ(parsed.result, egress ? -1 : 0);
        EXPECT_EQ(parsed.text, egress ? "Err: do not support debug base on egress pipline field \n" : "");
        EXPECT_EQ(parsed.bytes, expected_rule(keyword, egress ? 0 : debug_flag));
    }
}

TEST(MatchBlock, KeepsTheIdsOfTheRule)
{
    kxqos_rule_t rule = {};
    rule.table_id = 4;
    rule.rule_id = 0x1234;
    Bytes expected = expected_rule(keywords[KXQOS_MATCH_PRI], queue_flag);
    put(expected, 0, "04003412");
    EXPECT_EQ(parse({"pri", "3", "action", "queue", "0"}, rule).bytes, expected);
}

} // namespace
