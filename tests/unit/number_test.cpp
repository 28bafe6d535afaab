// What the number parsers leave in their outputs, on success and on failure, and what they print.

#include "number.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <string>

namespace {

constexpr const char *format_error = "Err: parameter format error, required a interger input \n";
constexpr const char *mask_error = "Err: parameter format error, required value/mask input \n";
constexpr int untouched = 77;

std::string printed(const std::function<void()> &call)
{
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

std::string beyond(const char *value, const char *range)
{
    return std::string("Err: parameter '") + value + "' beyond the range (" + range + ") \n";
}

// Plain numbers

struct Plain {
    int result = untouched;
    u32 value = untouched;
    std::string text;
};

Plain plain_u32(const char *word, int min, int max)
{
    Plain p;
    p.text = printed([&] { p.result = parse_u32(word, &p.value, min, max); });
    return p;
}

Plain plain_u16(const char *word, int min, int max)
{
    Plain p;
    u16 value = untouched;
    p.text = printed([&] { p.result = parse_u16(word, &value, min, max); });
    p.value = value;
    return p;
}

Plain plain_u8(const char *word, int min, int max)
{
    Plain p;
    u8 value = untouched;
    p.text = printed([&] { p.result = parse_u8(word, &value, min, max); });
    p.value = value;
    return p;
}

void expect(const Plain &p, int result, u32 value, const std::string &text)
{
    EXPECT_EQ(p.result, result);
    EXPECT_EQ(p.value, value);
    EXPECT_EQ(p.text, text);
}

TEST(ParseU32, ReadsBaseZero)
{
    expect(plain_u32("0x10", 0, 255), 0, 16, "");
    expect(plain_u32("0X1f", 0, 255), 0, 31, "");
    expect(plain_u32("010", 0, 255), 0, 8, "");
    expect(plain_u32("10", 0, 255), 0, 10, "");
    expect(plain_u32(" \t\n\v\f\r+10", 0, 255), 0, 10, "");
}

TEST(ParseU32, StopsAtABlank)
{
    expect(plain_u32("8 ", 0, 255), 0, 8, "");
    expect(plain_u32("12 apples", 0, 255), 0, 12, "");
    expect(plain_u32(" ", 0, 255), 0, 0, "");
    expect(plain_u32("8\t", 0, 255), -1, 8, format_error);
    expect(plain_u32("\t", 0, 255), -1, 0, format_error);
}

TEST(ParseU32, TakesTheEmptyWordAsZero)
{
    expect(plain_u32("", 0, 7), 0, 0, "");
    expect(plain_u32("", 1, 7), -1, 0, beyond("0", "1~7"));
}

TEST(ParseU32, RefusesNoWordSilentlyAndWritesNothing)
{
    expect(plain_u32(nullptr, 0, 7), -1, untouched, "");
}

TEST(ParseU32, WritesTheValueEvenWhenItFails)
{
    expect(plain_u32("8a", 0, 255), -1, 8, format_error);
    expect(plain_u32("x", 0, 255), -1, 0, format_error);
    expect(plain_u32("300", 0, 255), -1, 300, beyond("300", "0~255"));
    expect(plain_u32("4294967295", 0, 255), -1, 0xFFFFFFFF, beyond("-1", "0~255"));
}

TEST(ParseU32, ChecksTheFormatBeforeTheRange)
{
    expect(plain_u32("300x", 0, 255), -1, 300, format_error);
}

TEST(ParseU32, BoundsAreInclusive)
{
    expect(plain_u32("0", 1, 64), -1, 0, beyond("0", "1~64"));
    expect(plain_u32("1", 1, 64), 0, 1, "");
    expect(plain_u32("64", 1, 64), 0, 64, "");
    expect(plain_u32("65", 1, 64), -1, 65, beyond("65", "1~64"));
}

TEST(ParseU32, KeepsTheLow32Bits)
{
    expect(plain_u32("4294967297", 0, 7), 0, 1, "");
    expect(plain_u32("0x100000000", 0, 7), 0, 0, "");
    expect(plain_u32("-4294967291", 0, 7), 0, 5, "");
    expect(plain_u32("99999999999999999999999", 0, 7), -1, 0xFFFFFFFF, beyond("-1", "0~7"));
}

TEST(ParseU32, ComparesUnsignedSoThatMinusOneIsTheLargest)
{
    expect(plain_u32("4294967295", 0, -1), 0, 0xFFFFFFFF, "");
    expect(plain_u32("0x80000000", 0, -1), 0, 0x80000000, "");
    expect(plain_u32("-1", 0, -1), 0, 0xFFFFFFFF, "");
    expect(plain_u32("0x80000000", 0, INT_MAX), -1, 0x80000000, beyond("-2147483648", "0~2147483647"));
    expect(plain_u32("5", -1, -1), -1, 5, beyond("5", "-1~-1"));
}

TEST(ParseU16, WritesOnlyOnSuccess)
{
    expect(plain_u16("65535", 0, 65535), 0, 65535, "");
    expect(plain_u16("65536", 0, 65535), -1, untouched, beyond("65536", "0~65535"));
    expect(plain_u16("70000", 0, 65535), -1, untouched, beyond("70000", "0~65535"));
    expect(plain_u16("8a", 0, 65535), -1, untouched, format_error);
    expect(plain_u16("0", 1, 4096), -1, untouched, beyond("0", "1~4096"));
    expect(plain_u16(nullptr, 0, 65535), -1, untouched, "");
}

TEST(ParseU16, ReadsAsParseU32DoesAndNarrows)
{
    expect(plain_u16("0x10", 0, 255), 0, 16, "");
    expect(plain_u16("010 x", 0, 255), 0, 8, "");
    expect(plain_u16("", 0, 7), 0, 0, "");
    expect(plain_u16("4294967297", 0, 7), 0, 1, "");
    expect(plain_u16("0x12345", 0, -1), 0, 0x2345, "");
    expect(plain_u16("-1", 0, 65535), -1, untouched, beyond("-1", "0~65535"));
}

TEST(ParseU8, WritesOnlyOnSuccess)
{
    expect(plain_u8("255", 0, 255), 0, 255, "");
    expect(plain_u8("256", 0, 255), -1, untouched, beyond("256", "0~255"));
    expect(plain_u8("8a", 0, 255), -1, untouched, format_error);
    expect(plain_u8("0", 1, 255), -1, untouched, beyond("0", "1~255"));
    expect(plain_u8(nullptr, 0, 255), -1, untouched, "");
}

TEST(ParseU8, ReadsAsParseU32DoesAndNarrows)
{
    expect(plain_u8("0x10", 0, 255), 0, 16, "");
    expect(plain_u8("010 x", 0, 255), 0, 8, "");
    expect(plain_u8("", 0, 7), 0, 0, "");
    expect(plain_u8("0x1ab", 0, 65535), 0, 0xab, "");
}

// Match values

struct Match {
    int result = untouched;
    u32 begin = untouched;
    u32 end = untouched;
    int rangeMode = untouched;
    int inverseFlag = untouched;
    std::string text;
};

Match match_u32(const char *word, int max, int min = 0)
{
    Match m;
    m.text = printed(
        [&] { m.result = parse_u32_with_range(word, &m.begin, &m.end, min, max, &m.rangeMode, &m.inverseFlag); });
    return m;
}

Match match_u16(const char *word, int max)
{
    Match m;
    u16 begin = untouched;
    u16 end = untouched;
    m.text =
        printed([&] { m.result = parse_u16_with_range(word, &begin, &end, 0, max, &m.rangeMode, &m.inverseFlag); });
    m.begin = begin;
    m.end = end;
    return m;
}

Match match_u8(const char *word, int max)
{
    Match m;
    u8 begin = untouched;
    u8 end = untouched;
    m.text = printed([&] { m.result = parse_u8_with_range(word, &begin, &end, 0, max, &m.rangeMode, &m.inverseFlag); });
    m.begin = begin;
    m.end = end;
    return m;
}

void expect(const Match &m, int result, u32 begin, u32 end, int rangeMode, int inverseFlag, const std::string &text)
{
    EXPECT_EQ(m.result, result);
    EXPECT_EQ(m.begin, begin);
    EXPECT_EQ(m.end, end);
    EXPECT_EQ(m.rangeMode, rangeMode);
    EXPECT_EQ(m.inverseFlag, inverseFlag);
    EXPECT_EQ(m.text, text);
}

TEST(ParseU32WithRange, ThreeForms)
{
    expect(match_u32("100", 4095), 0, 100, 0xFFFF, 0, 0, "");
    expect(match_u32("100/0xff00", 4095), 0, 100, 0xFF00, 0, 0, "");
    expect(match_u32("100~200", 4095), 0, 100, 200, 1, 0, "");
}

TEST(ParseU32WithRange, Inverse)
{
    expect(match_u32("!5", 4095), 0, 5, 0xFFFF, 0, 1, "");
    expect(match_u32("!5/3", 4095), 0, 5, 3, 0, 1, "");
    expect(match_u32("!5~6", 4095), 0, 5, 6, 1, 1, "");
    expect(match_u32("!", 4095), 0, 0, 0xFFFF, 0, 1, "");
}

TEST(ParseU32WithRange, OpenRanges)
{
    expect(match_u32("~", 4095), 0, 0, 4095, 1, 0, "");
    expect(match_u32("10~", 4095), 0, 10, 4095, 1, 0, "");
    expect(match_u32("~10", 4095), 0, 0, 10, 1, 0, "");
    expect(match_u32("!~", 4095), 0, 0, 4095, 1, 1, "");
    expect(match_u32("~", -1), 0, 0, 0xFFFFFFFF, 1, 0, "");
    expect(match_u32("7~7", 4095), 0, 7, 7, 1, 0, "");
}

TEST(ParseU32WithRange, RangeEndsCompareUnsigned)
{
    expect(match_u32("1~0xffffffff", -1), 0, 1, 0xFFFFFFFF, 1, 0, "");
    expect(match_u32("0xffffffff~1", -1), -1, 0xFFFFFFFF, 1, untouched, 0, "");
}

TEST(ParseU32WithRange, NoWordWritesNothing)
{
    expect(match_u32(nullptr, 4095), -1, untouched, untouched, untouched, untouched, "");
}

TEST(ParseU32WithRange, TheLowerBoundIsZeroWhateverMinIs)
{
    expect(match_u32("1", 4095, 10), 0, 1, 0xFFFF, 0, 0, "");
    expect(match_u32("1/2", 4095, 10), 0, 1, 2, 0, 0, "");
    expect(match_u32("1~2", 4095, 10), 0, 1, 2, 1, 0, "");
    expect(match_u32("~2", 4095, 1), 0, 0, 2, 1, 0, "");
}

// A failure leaves the range mode alone, but the inverse flag and the numbers read so far are written.

TEST(ParseU32WithRange, FailedValue)
{
    expect(match_u32("5000", 4095), -1, 5000, untouched, untouched, 0, beyond("5000", "0~4095"));
    expect(match_u32("!5x", 4095), -1, 5, untouched, untouched, 1, format_error);
    expect(match_u32("!!5", 4095), -1, 0, untouched, untouched, 1, format_error);
    expect(match_u32("5!", 4095), -1, 5, untouched, untouched, 0, format_error);
}

TEST(ParseU32WithRange, FailedRange)
{
    expect(match_u32("10~5", 4095), -1, 10, 5, untouched, 0, "");
    expect(match_u32("!10~5", 4095), -1, 10, 5, untouched, 1, "");
    expect(match_u32("5000~6000", 4095), -1, 5000, untouched, untouched, 0, beyond("5000", "0~4095"));
    expect(match_u32("5~6000", 4095), -1, 5, 6000, untouched, 0, beyond("6000", "0~4095"));
    expect(match_u32("~6000", 4095), -1, 0, 6000, untouched, 0, beyond("6000", "0~4095"));
    expect(match_u32("1~2~3", 4095), -1, 1, 2, untouched, 0, format_error);
    expect(match_u32("1/2~3", 4095), -1, 1, untouched, untouched, 0, format_error);
}

TEST(ParseU32WithRange, FailedMask)
{
    expect(match_u32("10/", 4095), -1, untouched, untouched, untouched, 0, mask_error);
    expect(match_u32("/3", 4095), -1, untouched, untouched, untouched, 0, mask_error);
    expect(match_u32("!/", 4095), -1, untouched, untouched, untouched, 1, mask_error);
    expect(match_u32("5000/3", 4095), -1, 5000, untouched, untouched, 0, beyond("5000", "0~4095"));
    expect(match_u32("5/x", 4095), -1, 5, 0, untouched, 0, format_error);
    expect(match_u32("1/2/3", 4095), -1, 1, 2, untouched, 0, format_error);
}

TEST(ParseU32WithRange, AMaskIsAtMost65535WhateverMaxIs)
{
    expect(match_u32("5/65535", 7), 0, 5, 65535, 0, 0, "");
    expect(match_u32("5/70000", 0xFFFFF), -1, 5, 70000, untouched, 0, beyond("70000", "0~65535"));
    expect(match_u32("5/65536", -1), -1, 5, 65536, untouched, 0, beyond("65536", "0~65535"));
}

TEST(ParseU32WithRange, TheValueIsNotAndedWithItsMask)
{
    expect(match_u32("0xfff/0xf0", 4095), 0, 0xFFF, 0xF0, 0, 0, "");
}

TEST(ParseU32WithRange, LeavesTheWordAlone)
{
    std::string word = "!10~20";
    EXPECT_EQ(match_u32(word.c_str(), 4095).result, 0);
    EXPECT_EQ(word, "!10~20");
    word = "10/20";
    EXPECT_EQ(match_u32(word.c_str(), 4095).result, 0);
    EXPECT_EQ(word, "10/20");
}

TEST(ParseU32WithRange, TakesAWordOfAnyLength)
{
    expect(match_u32((std::string(100000, '0') + "7~" + std::string(100000, '0') + "11").c_str(), 4095), 0, 7, 9, 1, 0,
           "");
}

TEST(ParseU16WithRange, Narrows)
{
    expect(match_u16("5", 65535), 0, 5, 0xFFFF, 0, 0, "");
    expect(match_u16("!5/0xf0f0", 65535), 0, 5, 0xF0F0, 0, 1, "");
    expect(match_u16("5~65535", 65535), 0, 5, 65535, 1, 0, "");
    expect(match_u16("0x12345", -1), 0, 0x2345, 0xFFFF, 0, 0, "");
    // The ends are compared before they are narrowed.
    expect(match_u16("0x1ffff~0x20001", -1), 0, 0xFFFF, 1, 1, 0, "");
}

TEST(ParseU16WithRange, LeavesBothNumbersAloneOnFailure)
{
    expect(match_u16("!65536", 65535), -1, untouched, untouched, untouched, 1, beyond("65536", "0~65535"));
    expect(match_u16("5~65536", 65535), -1, untouched, untouched, untouched, 0, beyond("65536", "0~65535"));
    expect(match_u16("!10~5", 65535), -1, untouched, untouched, untouched, 1, "");
    expect(match_u16("5/70000", 65535), -1, untouched, untouched, untouched, 0, beyond("70000", "0~65535"));
    expect(match_u16("5/", 65535), -1, untouched, untouched, untouched, 0, mask_error);
    expect(match_u16(nullptr, 65535), -1, untouched, untouched, untouched, untouched, "");
}

TEST(ParseU8WithRange, NarrowsTheMaskAndRefusesNoneOf16Bits)
{
    expect(match_u8("5", 255), 0, 5, 0xFF, 0, 0, "");
    expect(match_u8("5/0x1ff", 255), 0, 5, 0xFF, 0, 0, "");
    expect(match_u8("5/0x100", 255), 0, 5, 0, 0, 0, "");
    expect(match_u8("!1~254", 255), 0, 1, 254, 1, 1, "");
}

TEST(ParseU8WithRange, LeavesBothNumbersAloneOnFailure)
{
    expect(match_u8("!256", 255), -1, untouched, untouched, untouched, 1, beyond("256", "0~255"));
    expect(match_u8("5~256", 255), -1, untouched, untouched, untouched, 0, beyond("256", "0~255"));
    expect(match_u8("!10~5", 255), -1, untouched, untouched, untouched, 1, "");
    expect(match_u8("5/65536", 255), -1, untouched, untouched, untouched, 0, beyond("65536", "0~65535"));
    expect(match_u8("/5", 255), -1, untouched, untouched, untouched, 0, mask_error);
    expect(match_u8(nullptr, 255), -1, untouched, untouched, untouched, untouched, "");
}

// The silent converters

void expect_ll(const char *word, unsigned long long min, unsigned long long max, int result, unsigned long long value)
{
    SCOPED_TRACE(word);
    unsigned long long number = untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(string_to_number_ll(word, min, max, &number), result); }), "");
    EXPECT_EQ(number, value);
}

void expect_l(const char *word, unsigned long min, unsigned long max, int result, unsigned long value)
{
    SCOPED_TRACE(word);
    unsigned long number = untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(string_to_number_l(word, min, max, &number), result); }), "");
    EXPECT_EQ(number, value);
}

void expect_int(const char *word, unsigned min, unsigned max, int result, unsigned value)
{
    SCOPED_TRACE(word);
    unsigned number = untouched;
    EXPECT_EQ(printed([&] { EXPECT_EQ(string_to_number(word, min, max, &number), result); }), "");
    EXPECT_EQ(number, value);
}

TEST(StringToNumberLl, WholeWordsWithinTheBounds)
{
    expect_ll("0", 0, 128, 0, 0);
    expect_ll("128", 0, 128, 0, 128);
    expect_ll("0x80", 0, 128, 0, 128);
    expect_ll("0200", 0, 128, 0, 128);
    expect_ll(" +64", 0, 128, 0, 64);
    expect_ll("5", 5, 5, 0, 5);
}

TEST(StringToNumberLl, LeavesTheNumberAloneOnFailure)
{
    expect_ll("129", 0, 128, -1, untouched);
    expect_ll("4", 5, 128, -1, untouched);
    expect_ll("", 0, 128, -1, untouched);
    expect_ll(" ", 0, 128, -1, untouched);
    expect_ll("x", 0, 128, -1, untouched);
    expect_ll("5 ", 0, 128, -1, untouched);
    expect_ll("5x", 0, 128, -1, untouched);
    expect_ll("-1", 0, 128, -1, untouched);
}

TEST(StringToNumberLl, MaxZeroIsNoBound)
{
    expect_ll("129", 0, 0, 0, 129);
    expect_ll("18446744073709551615", 0, 0, 0, ULLONG_MAX);
    expect_ll("4", 5, 0, -1, untouched);
    expect_ll("x", 0, 0, -1, untouched);
}

TEST(StringToNumberL, ZeroOnFailure)
{
    expect_l("128", 0, 128, 0, 128);
    expect_l("18446744073709551615", 0, 0, 0, ULONG_MAX);
    expect_l("129", 0, 128, -1, 0);
    expect_l("4", 5, 0, -1, 0);
    expect_l("", 0, 128, -1, 0);
    expect_l("5 ", 0, 128, -1, 0);
}

TEST(StringToNumber, ZeroOnFailure)
{
    expect_int("128", 0, 128, 0, 128);
    expect_int("129", 0, 128, -1, 0);
    expect_int("4", 5, 0, -1, 0);
    expect_int("", 0, 128, -1, 0);
    expect_int("64x", 0, 128, -1, 0);
}

TEST(StringToNumber, KeepsTheLow32BitsOfANumberThatIsCheckedWhole)
{
    expect_int("4294967301", 0, 0, 0, 5);
    expect_int("4294967301", 0, 128, -1, 0);
    expect_int("4294967301", 128, 0, 0, 5);
}

// Bitmaps

TEST(Bitmap, WalksTheBitsInOrder)
{
    const std::array<u8, 4> bitmap = {0x05, 0x00, 0x00, 0x80};
    int bit = 0;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
    EXPECT_EQ(bit, 1);
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
    EXPECT_EQ(bit, 3);
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
    EXPECT_EQ(bit, 32);
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
    EXPECT_EQ(bit, 32);
}

TEST(Bitmap, FindsEveryBitOnce)
{
    const std::array<u8, 4> bitmap = {0xFF, 0xFF, 0xFF, 0xFF};
    int bit = 0;
    for (int found = 1; found <= 32; found++) {
        EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
        EXPECT_EQ(bit, found);
    }
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
}

TEST(Bitmap, FindsEachBitAlone)
{
    for (int set = 0; set < 32; set++) {
        SCOPED_TRACE(set);
        std::array<u8, 4> bitmap = {};
        bitmap[static_cast<size_t>(set / 8)] = static_cast<u8>(1 << (set % 8));
        int bit = 0;
        EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
        EXPECT_EQ(bit, set + 1);
        EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
        EXPECT_EQ(bit, set + 1);
    }
}

TEST(Bitmap, AnEmptyRestLeavesTheBitAlone)
{
    const std::array<u8, 4> bitmap = {0x01, 0x00, 0x00, 0x00};
    int bit = 1;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
    EXPECT_EQ(bit, 1);
    bit = 13;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
    EXPECT_EQ(bit, 13);
}

TEST(Bitmap, StartsWhereItIsTold)
{
    const std::array<u8, 4> bitmap = {0x00, 0x11, 0x00, 0x00}; // bits 8 and 12
    int bit = 8;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
    EXPECT_EQ(bit, 9);
    bit = 12;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 1);
    EXPECT_EQ(bit, 13);
}

TEST(Bitmap, SizeCountsBits)
{
    const std::array<u8, 4> bitmap = {0x00, 0x01, 0xFF, 0xFF};
    int bit = 0;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 8, &bit), 0);
    EXPECT_EQ(bit, 0);
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 16, &bit), 1);
    EXPECT_EQ(bit, 9);
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 16, &bit), 0);
    bit = 33;
    EXPECT_EQ(u8_bitmap_get_next_bit(bitmap.data(), 32, &bit), 0);
    EXPECT_EQ(bit, 33);
}

} // namespace
