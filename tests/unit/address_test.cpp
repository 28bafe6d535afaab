// What the address parsers leave in their outputs, on success and on failure, and the formatters.

#include "address.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <array>
#include <cstring>
#include <functional>
#include <string>

namespace {

constexpr int untouched = 77;

std::string printed(const std::function<void()> &call)
{
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

// MAC addresses

using Mac = std::array<unsigned char, 6>;

constexpr Mac mac_untouched = {0x77, 0x77, 0x77, 0x77, 0x77, 0x77};
constexpr Mac mac_all_ones = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};

void expect_mac(const char *word, int result, const Mac &mac, const Mac &mask, int rangeMode, int inverseFlag)
{
    SCOPED_TRACE(word == nullptr ? "no word" : word);
    Mac parsed = mac_untouched;
    Mac parsed_mask = mac_untouched;
    int mode = untouched;
    int inverse = untouched;
    EXPECT_EQ(
        printed([&] { EXPECT_EQ(parse_mac_addr(word, parsed.data(), parsed_mask.data(), &mode, &inverse), result); }),
        "");
    EXPECT_EQ(parsed, mac);
    EXPECT_EQ(parsed_mask, mask);
    EXPECT_EQ(mode, rangeMode);
    EXPECT_EQ(inverse, inverseFlag);
}

TEST(ParseMacAddr, ThreeForms)
{
    const Mac mac = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    expect_mac("00:11:22:33:44:55", 0, mac, mac_all_ones, 0, 0);
    expect_mac("!00:11:22:33:44:55", 0, mac, mac_all_ones, 0, 1);
    expect_mac("00:11:22:33:44:55/ff:ff:ff:00:00:00", 0, {0x00, 0x11, 0x22, 0, 0, 0}, {0xff, 0xff, 0xff, 0, 0, 0}, 0,
               0);
    expect_mac("!00:11:22:33:44:55/f0:f0:f0:f0:f0:0f", 0, {0x00, 0x10, 0x20, 0x30, 0x40, 0x05},
               {0xf0, 0xf0, 0xf0, 0xf0, 0xf0, 0x0f}, 0, 1);
}

TEST(ParseMacAddr, ARangeIsNeitherAndedNorOrdered)
{
    expect_mac("00:00:00:00:00:09~00:00:00:00:00:01", 0, {0, 0, 0, 0, 0, 9}, {0, 0, 0, 0, 0, 1}, 1, 0);
    expect_mac("!0:0:0:0:0:1~0:0:0:0:0:9", 0, {0, 0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 9}, 1, 1);
}

TEST(ParseMacAddr, NoWordWritesNothing)
{
    expect_mac(nullptr, -1, mac_untouched, mac_untouched, untouched, untouched);
}

TEST(ParseMacAddr, ABadSecondAddressLeavesTheRangeModeAlone)
{
    expect_mac("00:11:22:33:44:55~x", -1, mac_untouched, mac_untouched, untouched, 0);
    expect_mac("!00:11:22:33:44:55~", -1, mac_untouched, mac_untouched, untouched, 1);
    expect_mac("00:11:22:33:44:55/x", -1, mac_untouched, mac_untouched, untouched, 0);
    expect_mac("!00:11:22:33:44:55/", -1, mac_untouched, mac_untouched, untouched, 1);
}

TEST(ParseMacAddr, ABadValueIsFoundAfterMaskAndRangeModeAreWritten)
{
    expect_mac("x", -1, mac_untouched, mac_all_ones, 0, 0);
    expect_mac("!", -1, mac_untouched, mac_all_ones, 0, 1);
    expect_mac("x~00:00:00:00:00:01", -1, mac_untouched, {0, 0, 0, 0, 0, 1}, 1, 0);
    expect_mac("x/ff:ff:ff:00:00:00", -1, mac_untouched, {0xff, 0xff, 0xff, 0, 0, 0}, 0, 0);
}

TEST(ParseMacAddr, TheLastMarkDivides)
{
    expect_mac("x~0:0:0:0:0:1~0:0:0:0:0:2", -1, mac_untouched, {0, 0, 0, 0, 0, 2}, 1, 0);
    expect_mac("x/0:0:0:0:0:1/0:0:0:0:0:2", -1, mac_untouched, {0, 0, 0, 0, 0, 2}, 0, 0);
}

TEST(ParseMacAddr, ARangeComesBeforeAMask)
{
    expect_mac("x/0:0:0:0:0:1~0:0:0:0:0:2", -1, mac_untouched, {0, 0, 0, 0, 0, 2}, 1, 0);
}

// IPv4 addresses

constexpr u32 ip_untouched = 0x77777777;

void expect_ip(const char *word, int result, u32 address, u32 mask, int rangeMode, int inverseFlag)
{
    SCOPED_TRACE(word == nullptr ? "no word" : word);
    u32 parsed = ip_untouched;
    u32 parsed_mask = ip_untouched;
    int mode = untouched;
    int inverse = untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(parse_ip_addr(word, &parsed, &parsed_mask, &mode, &inverse), result); }), "");
    EXPECT_EQ(parsed, address);
    EXPECT_EQ(parsed_mask, mask);
    EXPECT_EQ(mode, rangeMode);
    EXPECT_EQ(inverse, inverseFlag);
}

// For a refused word only what is certain to be written, or certain not to be.
void expect_ip_refused(const char *word, int inverseFlag)
{
    SCOPED_TRACE(word);
    u32 parsed = 0;
    u32 parsed_mask = 0;
    int mode = untouched;
    int inverse = untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(parse_ip_addr(word, &parsed, &parsed_mask, &mode, &inverse), -1); }), "");
    EXPECT_EQ(mode, untouched);
    EXPECT_EQ(inverse, inverseFlag);
}

void expect_quad(const char *text, int result, u32 address)
{
    SCOPED_TRACE(text);
    u32 parsed = ip_untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(undot_ip(text, &parsed), result); }), "");
    EXPECT_EQ(parsed, address);
}

void expect_mask(const char *text, int result, u32 mask)
{
    SCOPED_TRACE(text);
    u32 parsed = ip_untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(ip_mask(text, &parsed), result); }), "");
    EXPECT_EQ(parsed, mask);
}

TEST(UndotIp, DottedQuads)
{
    expect_quad("10.1.2.3", 0, 0x0A010203);
    expect_quad("0.0.0.0", 0, 0);
    expect_quad("255.255.255.255", 0, 0xFFFFFFFF);
    expect_quad("010.1.2.3", 0, 0x0A010203);
    expect_quad(" 10.+1. +2.3", 0, 0x0A010203);
    expect_quad("10..1.2", 0, 0x0A000102);
    expect_quad("...", 0, 0);
    expect_quad("1.2.3.", 0, 0x01020300);
    expect_quad("+010.+020.+030.+040", 0, 0x0A141E28); // 19 characters, the most that count
}

TEST(UndotIp, EverythingElseIsRefusedAndNotWritten)
{
    for (const char *text :
         {"", "1", "1.2", "1.2.3", "1.2.3.4.5", "1.2.3.4.", "256.1.1.1", "1.256.1.1", "1.1.256.1", "1.1.1.256",
          "-1.1.1.1", "1.1.1.-1", "0x1.1.1.1", "1 .1.1.1", "1. .1.1", "1.1.1.1 ", "1.1.1.1/8", "a.b.c.d", "::1"})
        expect_quad(text, -1, ip_untouched);
}

TEST(IpMask, DottedQuadsNeedNotBePrefixes)
{
    expect_mask("255.255.255.0", 0, 0xFFFFFF00);
    expect_mask("255.0.255.1", 0, 0xFF00FF01);
    expect_mask("0.0.0.0", 0, 0);
}

TEST(IpMask, PrefixLengths)
{
    expect_mask("1", 0, 0x80000000);
    expect_mask("2", 0, 0xC0000000);
    expect_mask("8", 0, 0xFF000000);
    expect_mask("24", 0, 0xFFFFFF00);
    expect_mask("31", 0, 0xFFFFFFFE);
    expect_mask("32", 0, 0xFFFFFFFF);
    expect_mask(" +024", 0, 0xFFFFFF00);
}

TEST(IpMask, TheLengthZeroIsAllOnes)
{
    expect_mask("0", 0, 0xFFFFFFFF);
    expect_mask("", 0, 0xFFFFFFFF);
}

TEST(IpMask, EverythingElseIsRefusedAndNotWritten)
{
    for (const char *text : {"33", "-1", "24 ", "24x", "0x18", " ", "x", "255.255.255", "255.255.255.256"})
        expect_mask(text, -1, ip_untouched);
}

TEST(ParseIpAddr, ThreeForms)
{
    expect_ip("192.168.1.7", 0, 0xC0A80107, 0xFFFFFFFF, 0, 0);
    expect_ip("192.168.1.7/24", 0, 0xC0A80100, 0xFFFFFF00, 0, 0);
    expect_ip("192.168.1.7/255.255.0.255", 0, 0xC0A80007, 0xFFFF00FF, 0, 0);
    expect_ip("10.0.0.1~10.0.0.9", 0, 0x0A000001, 0x0A000009, 1, 0);
    expect_ip("!10.0.0.1", 0, 0x0A000001, 0xFFFFFFFF, 0, 1);
    expect_ip("!10.0.0.1/8", 0, 0x0A000000, 0xFF000000, 0, 1);
    expect_ip("!10.0.0.1~10.0.0.9", 0, 0x0A000001, 0x0A000009, 1, 1);
}

TEST(ParseIpAddr, TheLengthZeroIsAllOnes)
{
    expect_ip("10.0.0.1/0", 0, 0x0A000001, 0xFFFFFFFF, 0, 0);
    expect_ip("10.0.0.1/", 0, 0x0A000001, 0xFFFFFFFF, 0, 0);
    expect_ip("10.0.0.1~", 0, 0x0A000001, 0xFFFFFFFF, 1, 0);
}

TEST(ParseIpAddr, ARangeMayEndAtAPrefixLength)
{
    expect_ip("10.0.0.1~24", 0, 0x0A000001, 0xFFFFFF00, 1, 0);
    expect_ip("127.255.255.255~1", 0, 0x7FFFFFFF, 0x80000000, 1, 0);
    expect_ip_refused("128.0.0.1~1", 0);
}

TEST(ParseIpAddr, RangesCompareUnsigned)
{
    expect_ip("127.0.0.1~128.0.0.1", 0, 0x7F000001, 0x80000001, 1, 0);
    expect_ip("10.0.0.9~10.0.0.9", 0, 0x0A000009, 0x0A000009, 1, 0);
    expect_ip_refused("128.0.0.1~127.0.0.1", 0);
}

TEST(ParseIpAddr, NoWordWritesNothing)
{
    expect_ip(nullptr, -1, ip_untouched, ip_untouched, untouched, untouched);
}

TEST(ParseIpAddr, ABadSingleAddressIsFoundAfterTheMaskIsWritten)
{
    expect_ip("x", -1, ip_untouched, 0xFFFFFFFF, untouched, 0);
    expect_ip("!1.2.3", -1, ip_untouched, 0xFFFFFFFF, untouched, 1);
}

TEST(ParseIpAddr, RefusedWordsWriteTheInverseFlagAndNoRangeMode)
{
    expect_ip_refused("!10.0.0.9~10.0.0.1", 1);
    expect_ip_refused("x~10.0.0.1", 0);
    expect_ip_refused("10.0.0.1~x", 0);
    expect_ip_refused("!10.0.0.1~33", 1);
    expect_ip_refused("~", 0);
    expect_ip_refused("x/24", 0);
    expect_ip_refused("!10.0.0.1/33", 1);
    expect_ip_refused("10.0.0.1/x", 0);
    expect_ip_refused("/", 0);
    expect_ip_refused("!!10.0.0.1", 1);
    expect_ip_refused("10.0.0.1/8/24", 0);
    expect_ip_refused("10.0.0.1/8~10.0.0.9", 0);
    expect_ip_refused("10.0.0.1~10.0.0.9/8", 0);
}

TEST(ParseIpAddr, TheLastMarkDivides)
{
    u32 parsed = ip_untouched;
    u32 end = ip_untouched;
    int mode = untouched;
    int inverse = untouched;
    EXPECT_EQ(parse_ip_addr("x~10.0.0.1~10.0.0.9", &parsed, &end, &mode, &inverse), -1);
    EXPECT_EQ(end, 0x0A000009U);
}

// IPv6 addresses

in6_addr v6(const char *text)
{
    in6_addr address;
    EXPECT_EQ(inet_pton(AF_INET6, text, &address), 1) << text;
    return address;
}

std::string hex(const in6_addr &address)
{
    std::string text;
    for (const unsigned char byte : address.s6_addr) {
        std::array<char, 3> digits = {};
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        text += digits.data();
    }
    return text;
}

const std::string v6_zero(32, '0');
const std::string v6_ones(32, 'f');
const std::string v6_untouched(32, '7');

struct V6 {
    int result = untouched;
    in6_addr address = v6("7777:7777:7777:7777:7777:7777:7777:7777");
    in6_addr mask = address;
    int rangeMode = untouched;
    int inverseFlag = untouched;
    std::string text;
};

V6 parse_v6(const char *word)
{
    V6 v;
    v.text = printed([&] { v.result = parse_ipv6_addr(word, &v.address, &v.mask, &v.rangeMode, &v.inverseFlag); });
    return v;
}

void expect_v6(const char *word, const std::string &address, const std::string &mask, int rangeMode, int inverseFlag,
               const std::string &text = "")
{
    SCOPED_TRACE(word);
    const V6 v = parse_v6(word);
    EXPECT_EQ(v.result, 0);
    EXPECT_EQ(hex(v.address), address);
    EXPECT_EQ(hex(v.mask), mask);
    EXPECT_EQ(v.rangeMode, rangeMode);
    EXPECT_EQ(v.inverseFlag, inverseFlag);
    EXPECT_EQ(v.text, text);
}

void expect_v6_refused(const char *word, int inverseFlag, const std::string &text)
{
    SCOPED_TRACE(word);
    const V6 v = parse_v6(word);
    EXPECT_EQ(v.result, -1);
    EXPECT_EQ(v.rangeMode, untouched);
    EXPECT_EQ(v.inverseFlag, inverseFlag);
    EXPECT_EQ(v.text, text);
}

TEST(ParseIpv6Addr, ThreeForms)
{
    expect_v6("2001:db8::1", "20010db8000000000000000000000001", v6_ones, 0, 0);
    expect_v6("2001:db8::1/64", "20010db8000000000000000000000000", "ffffffffffffffff0000000000000000", 0, 0);
    expect_v6("2001:db8::1~2001:db8::ff", "20010db8000000000000000000000001", "20010db80000000000000000000000ff", 1, 0);
    expect_v6("!2001:db8::1", "20010db8000000000000000000000001", v6_ones, 0, 1);
    expect_v6("!2001:db8::1/16", "20010000000000000000000000000000", "ffff0000000000000000000000000000", 0, 1);
    expect_v6("!::1~::2", "00000000000000000000000000000001", "00000000000000000000000000000002", 1, 1);
}

TEST(ParseIpv6Addr, NoWordIsRefused)
{
    EXPECT_EQ(parse_v6(nullptr).result, -1);
}

TEST(ParseIpv6Addr, ABadMaskIsReportedWithoutANewlineAndReadAsZero)
{
    expect_v6("2001:db8::1/200", v6_zero, v6_zero, 0, 0, "Invalid IPv6 Mask '200' specified");
    expect_v6("!x/y", v6_zero, v6_zero, 0, 1, "Invalid IPv6 Mask 'y' specified");
    expect_v6("2001:db8::1/", v6_zero, v6_zero, 0, 0, "Invalid IPv6 Mask '' specified");
}

TEST(ParseIpv6Addr, AnEmptyMaskStandsForAnyAddress)
{
    expect_v6("x/0", v6_zero, v6_zero, 0, 0);
    expect_v6("2001:db8::1/::", v6_zero, v6_zero, 0, 0);
}

TEST(ParseIpv6Addr, ABadAddressIsFoundAfterTheMaskIsWritten)
{
    expect_v6_refused("x/64", 0, "Invalid IPv6 Address 'x' specified");
    EXPECT_EQ(hex(parse_v6("x/64").mask), "ffffffffffffffff0000000000000000");
    expect_v6_refused("!x", 1, "Invalid IPv6 Address 'x' specified");
    EXPECT_EQ(hex(parse_v6("x").mask), v6_ones);
}

TEST(ParseIpv6Addr, RefusedRangesWriteTheInverseFlagAndNoRangeMode)
{
    expect_v6_refused("x~::1", 0, "Invalid IPv6 Address 'x' specified \n");
    expect_v6_refused("!::1~x", 1, "Invalid IPv6 Address '::1' specified \n");
    expect_v6_refused("::2~::1", 0, "Invalid IPv6 Address range \n");
    expect_v6_refused("!2001:db8::1~2001:db9::1", 1, "Invalid IPv6 Address range \n");
    expect_v6_refused("::1~::2~::3", 0, "Invalid IPv6 Address '::1~::2' specified \n");
    expect_v6_refused("::1~::9/64", 0, "Invalid IPv6 Address '::1' specified \n");
}

TEST(ParseIpv6Addr, ARangeComparesItsLastGroupBigEndianAndUnsigned)
{
    expect_v6("::0002:01ff~::2:0200", "000000000000000000000000000201ff", "00000000000000000000000000020200", 1, 0);
    expect_v6("::7fff~::8000", "00000000000000000000000000007fff", "00000000000000000000000000008000", 1, 0);
    expect_v6_refused("::8000~::7fff", 0, "Invalid IPv6 Address range \n");
    expect_v6_refused("::0200~::01ff", 0, "Invalid IPv6 Address range \n");
}

TEST(ParseIpv6Addr, EachOfTheFirstSevenGroupsMustBeEqual)
{
    for (const char *end : {"1::9", "0:1::9", "0:0:1::9", "0:0:0:1::9", "::1:0:0:9", "::1:0:9", "::1:9"})
        expect_v6_refused((std::string("::1~") + end).c_str(), 0, "Invalid IPv6 Address range \n");
}

TEST(ParseIpv6Addr, OnlyTheFirst255CharactersCount)
{
    const std::string long_word = "!" + std::string(300, 'x');
    expect_v6_refused(long_word.c_str(), 1, "Invalid IPv6 Address '" + std::string(255, 'x') + "' specified");
    expect_v6_refused((std::string(255, 'x') + "~::1").c_str(), 0,
                      "Invalid IPv6 Address '" + std::string(255, 'x') + "' specified");
    expect_v6_refused((std::string(254, 'x') + "~::1").c_str(), 0,
                      "Invalid IPv6 Address '" + std::string(254, 'x') + "' specified \n");
}

void expect_mask6(const char *text, const std::string &mask, const std::string &message = "")
{
    SCOPED_TRACE(text);
    in6_addr parsed = v6("7777::");
    EXPECT_EQ(printed([&] { parsed = parse_ip6_mask(text); }), message);
    EXPECT_EQ(hex(parsed), mask);
}

TEST(ParseIp6Mask, PrefixLengths)
{
    expect_mask6("0", v6_zero);
    expect_mask6("1", "80000000000000000000000000000000");
    expect_mask6("7", "fe000000000000000000000000000000");
    expect_mask6("8", "ff000000000000000000000000000000");
    expect_mask6("9", "ff800000000000000000000000000000");
    expect_mask6("64", "ffffffffffffffff0000000000000000");
    expect_mask6("0x40", "ffffffffffffffff0000000000000000");
    expect_mask6("0100", "ffffffffffffffff0000000000000000");
    expect_mask6("127", "fffffffffffffffffffffffffffffffe");
    expect_mask6("128", v6_ones);
}

TEST(ParseIp6Mask, AddressesOfAnyBits)
{
    expect_mask6("ffff:0:ffff::", "ffff0000ffff00000000000000000000");
    expect_mask6("::", v6_zero);
    expect_mask6("::1", "00000000000000000000000000000001");
}

TEST(ParseIp6Mask, BadOnesAreReportedAndEmpty)
{
    expect_mask6("129", v6_zero, "Invalid IPv6 Mask '129' specified");
    expect_mask6("", v6_zero, "Invalid IPv6 Mask '' specified");
    expect_mask6("64 ", v6_zero, "Invalid IPv6 Mask '64 ' specified");
    expect_mask6("-1", v6_zero, "Invalid IPv6 Mask '-1' specified");
    expect_mask6("x", v6_zero, "Invalid IPv6 Mask 'x' specified");
}

// Formatters: each clears the whole buffer that it is given and nothing beyond.

void expect_text(const std::function<char *(char *, int)> &format, const std::string &text)
{
    SCOPED_TRACE(text);
    std::array<char, address_text_size + 1> buffer;
    buffer.fill('#');
    EXPECT_EQ(format(buffer.data(), address_text_size), buffer.data());
    std::string expected = text;
    expected.resize(address_text_size, '\0');
    EXPECT_EQ(std::string(buffer.data(), address_text_size), expected);
    EXPECT_EQ(buffer.back(), '#');
}

TEST(Formatters, Mac)
{
    const Mac mac = {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc};
    expect_text([&](char *buf, int len) { return mac2str(mac.data(), buf, len); }, "00:11:22:aa:bb:cc");
    expect_text([&](char *buf, int len) { return mac2str(mac_all_ones.data(), buf, len); }, "ff:ff:ff:ff:ff:ff");
}

TEST(Formatters, Ip)
{
    expect_text([](char *buf, int len) { return ip2str(0xC0A80101, buf, len); }, "192.168.1.1");
    expect_text([](char *buf, int len) { return ip2str(0x0A010203, buf, len); }, "10.1.2.3");
    expect_text([](char *buf, int len) { return ip2str(0, buf, len); }, "0.0.0.0");
    expect_text([](char *buf, int len) { return ip2str(0xFFFFFFFF, buf, len); }, "255.255.255.255");
}

void expect_ip6_text(const char *address, const std::string &text)
{
    const in6_addr parsed = v6(address);
    expect_text([&](char *buf, int len) { return ip62str(&parsed, buf, len); }, text);
}

TEST(Formatters, Ip6)
{
    expect_ip6_text("2001:0DB8:0:0:0:0:0:1", "2001:db8::1");
    expect_ip6_text("0:0:0:0:0:0:0:0", "::");
    expect_ip6_text("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
}

void expect_mask_text(const char *mask, int length, const std::string &text)
{
    const in6_addr parsed = v6(mask);
    EXPECT_EQ(ip6mask2cidr(&parsed), length) << mask;
    expect_text([&](char *buf, int len) { return ip6mask2str(&parsed, buf, len); }, text);
}

TEST(Formatters, Ip6MaskThatIsAPrefix)
{
    expect_mask_text("::", 0, "/0");
    expect_mask_text("8000::", 1, "/1");
    expect_mask_text("fe00::", 7, "/7");
    expect_mask_text("ff00::", 8, "/8");
    expect_mask_text("ff80::", 9, "/9");
    expect_mask_text("ffff:ffff:ffff:ffff::", 64, "/64");
    expect_mask_text("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", 127, "/127");
    expect_mask_text("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", 128, "");
}

TEST(Formatters, Ip6MaskThatIsNone)
{
    expect_mask_text("ffff:0:ffff::", -1, "/ffff:0:ffff::");
    expect_mask_text("::1", -1, "/::1");
    expect_mask_text("7fff::", -1, "/7fff::");
    expect_mask_text("fd00::", -1, "/fd00::");
    expect_mask_text("ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffd", -1, "/ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffd");
}

TEST(Formatters, EveryPrefixLength)
{
    for (unsigned length = 0; length <= 128; length++) {
        in6_addr mask = {};
        for (unsigned bit = 0; bit < length; bit++)
            mask.s6_addr[bit / 8] = static_cast<unsigned char>(mask.s6_addr[bit / 8] | (0x80U >> (bit % 8)));
        EXPECT_EQ(ip6mask2cidr(&mask), static_cast<int>(length));
    }
}

} // namespace
