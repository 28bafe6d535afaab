// The conversions of numbers, MAC addresses and IPv6 addresses beside the C library's, which they stand for: every text
// of up to seven characters that could tell them apart, and what takes longer texts.

#include "address.h"
#include "number.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/ether.h>

#include <array>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// By the name that has no binary numbers: newer headers put another one after strtoull.
extern "C" unsigned long long plain_strtoull(const char *text, char **stop, int base) noexcept __asm__("strtoull");

// Calls check(text) with every text of up to longest characters of the alphabet after the beginning.
template <typename Check>
void every_text(const std::string &beginning, const std::string &alphabet, size_t longest, Check check)
{
    std::string text = beginning;
    std::vector<size_t> digits; // indices into the alphabet, counted up
    for (;;) {
        check(text.c_str());
        size_t place = digits.size();
        while (place > 0 && digits[place - 1] == alphabet.size() - 1)
            digits[--place] = 0;
        if (place > 0) {
            digits[place - 1]++;
        } else if (digits.size() == longest) {
            return;
        } else {
            digits.insert(digits.begin(), 0);
            text += '?';
        }
        for (size_t i = place > 0 ? place - 1 : 0; i < digits.size(); i++)
            text[beginning.size() + i] = alphabet[digits[i]];
    }
}

std::string every_character()
{
    std::string all;
    for (int c = 1; c < 256; c++)
        all += static_cast<char>(c);
    return all;
}

// Of millions of texts only the first that fails is told, and how many texts there were.
struct Verdict {
    long texts = 0;
    bool good = true;
    std::string first;

    void operator()(bool same, const char *text)
    {
        texts++;
        if (!same && good) {
            good = false;
            first = text;
        }
    }
};

TEST(EveryText, ComesOnce)
{
    std::string all;
    every_text("<", "ab", 2, [&](const char *text) { all += text; });
    EXPECT_EQ(all, "<<a<b<aa<ab<ba<bb");
}

// Numbers

bool number_is_the_librarys(const char *text)
{
    char *libraryStop = nullptr;
    const char *stop = nullptr;
    const unsigned long long expected = plain_strtoull(text, &libraryStop, 0);
    if (read_number(text, &stop, 0) != expected || stop != libraryStop)
        return false;

    const long decimal = strtol(text, &libraryStop, 10);
    const unsigned long long value = read_number(text, &stop, 10);
    const bool atAnEnd = decimal == LONG_MIN || decimal == LONG_MAX;
    const bool same = atAnEnd ? value >= LONG_MAX : value == static_cast<unsigned long long>(decimal);
    return same && stop == libraryStop;
}

long numbers(const std::string &alphabet, size_t longest)
{
    Verdict verdict;
    every_text("", alphabet, longest, [&](const char *text) { verdict(number_is_the_librarys(text), text); });
    EXPECT_TRUE(verdict.good) << '"' << verdict.first << '"';
    return verdict.texts;
}

// A digit of each kind of number (b is also the mark of binary ones), the mark of hexadecimal ones, signs, a blank, and
// something else.
TEST(ReadNumber, EveryTextOfSevenCharacters)
{
    EXPECT_EQ(numbers("079bx+- z", 7), 5380840);
}

// Both cases of the letters, the ends of each kind of digit and their neighbours, and all blanks.
TEST(ReadNumber, EveryTextOfFourCharacters)
{
    EXPECT_EQ(numbers("0178923:/@`aAfFgGbBxX+-. \t\n\v\f\r", 4), 837931);
}

TEST(ReadNumber, EveryCharacter)
{
    EXPECT_EQ(numbers(every_character(), 2), 1 + 255 + 255 * 255);
    for (const char *beginning : {"0x", " -0X", "0", "7"})
        every_text(beginning, every_character(), 1,
                   [](const char *text) { EXPECT_TRUE(number_is_the_librarys(text)) << text; });
}

__extension__ using u128 = unsigned __int128;

std::string in_base(u128 value, unsigned base)
{
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789abcdef"[value % base]);
        value /= base;
    } while (value != 0);
    return digits;
}

// The largest numbers, and those beyond, lie beside powers of two.
TEST(ReadNumber, BesideEveryPowerOfTwo)
{
    for (int power = 2; power < 100; power++) {
        for (int beside = -3; beside <= 3; beside++) {
            const auto value = (static_cast<u128>(1) << power) + static_cast<u128>(beside);
            const std::string forms[] = {in_base(value, 10), "0" + in_base(value, 8), "0x" + in_base(value, 16)};
            for (const std::string &form : forms)
                for (const char *before : {"", "-", "+", " -"})
                    for (const char *after : {"", "0", "9", "z", " 1"}) {
                        const std::string text = before + form + after;
                        EXPECT_TRUE(number_is_the_librarys(text.c_str())) << text;
                    }
        }
    }
}

TEST(ReadNumber, BinaryNumbersEndBehindTheirFirstDigit)
{
    for (const char *text : {"0b11", "0B11", "0b", "0b2"}) {
        const char *stop = nullptr;
        EXPECT_EQ(read_number(text, &stop, 0), 0U) << text;
        EXPECT_EQ(stop, text + 1) << text;
    }
}

// A prefix length may be any number of characters long; one that is below 0 is not taken for a small one.
TEST(ReadNumber, ADecimalNumberFarBelowZeroIsNotSmall)
{
    u32 mask = 0;
    EXPECT_EQ(ip_mask("-18446744073709551608", &mask), -1);
    EXPECT_EQ(ip_mask("18446744073709551624", &mask), -1);
    EXPECT_EQ(ip_mask("-0", &mask), 0);
}

TEST(Characters, AreSortedAsInTheCLocale)
{
    for (int c = 0; c < 256; c++) {
        const char character = static_cast<char>(c);
        EXPECT_EQ(is_blank(character) != 0, isspace(c) != 0) << c;
        const char text[] = {character, '\0'};
        EXPECT_EQ(hex_digit(character), isxdigit(c) != 0 ? strtoul(text, nullptr, 16) : 16) << c;
    }
}

// MAC addresses

bool mac_is_the_librarys(const char *text)
{
    std::array<unsigned char, 6> mac = {};
    std::array<unsigned char, 6> mask = {};
    int rangeMode = 0;
    int inverseFlag = 0;
    const int result = parse_mac_addr(text, mac.data(), mask.data(), &rangeMode, &inverseFlag);
    const ether_addr *expected = ether_aton(text);
    if (expected == nullptr)
        return result == -1;
    return result == 0 && memcmp(expected, mac.data(), mac.size()) == 0;
}

long macs(const std::string &beginning, const std::string &alphabet, size_t longest)
{
    Verdict verdict;
    every_text(beginning, alphabet, longest, [&](const char *text) { verdict(mac_is_the_librarys(text), text); });
    EXPECT_TRUE(verdict.good) << '"' << verdict.first << '"';
    return verdict.texts;
}

// Digits in both cases, the colon, a blank, what other conversions take before digits, and something else. The shortest
// address has eleven characters, so that those of seven are all refused; after four groups they are the last two.
TEST(ParseMacAddr, EveryTextOfSevenCharacters)
{
    EXPECT_EQ(macs("", "0aF: x+", 7), 960800);
    EXPECT_EQ(macs("00:11:22:33:", "0aF: x+", 7), 960800);
}

TEST(ParseMacAddr, EveryTextOfFiveCharactersBehindAnyGroup)
{
    for (const char *beginning :
         {"0:", "11:", "0:11:", "00:1:2:", "0:1:2:3:4:", "00:11:22:33:44:", "00:11:22:33:44:5", "00:11:22:33:44:55"})
        EXPECT_EQ(macs(beginning, "09fG: x-", 5), 37449);
}

TEST(ParseMacAddr, EveryGroupOfEveryForm)
{
    constexpr std::array<const char *, 7> forms = {"", "7", "aF", "012", "0x1", "+1", "1 "};
    Verdict verdict;
    long taken = 0;
    every_text("", "\1\2\3\4\5\6\7", 6, [&](const char *chosen) {
        std::string text;
        for (const char *form = chosen; *form != '\0'; form++)
            text += (form == chosen ? "" : ":") + std::string(forms[static_cast<size_t>(*form - 1)]);
        for (const char *tail : {"", "x", ":", " x"}) {
            const std::string whole = text + tail;
            verdict(mac_is_the_librarys(whole.c_str()), whole.c_str());
            taken += ether_aton(whole.c_str()) != nullptr;
        }
    });
    EXPECT_TRUE(verdict.good) << '"' << verdict.first << '"';
    // Two forms are good anywhere, so there are 32 beginnings. At the end aF, 012 and "1 " are good before every tail,
    // 7 before two.
    EXPECT_EQ(taken, 32 * (4 + 4 + 4 + 2));
}

// But for the marks, which divide a word.
TEST(ParseMacAddr, EveryCharacter)
{
    std::string characters = every_character();
    characters.erase(characters.find('/'), 1);
    characters.erase(characters.find('~'), 1);
    EXPECT_EQ(macs("0:1:2:3:4:", characters, 2), 1 + 253 + 253 * 253);
    every_text("0:1:", characters, 2, [](const char *text) {
        const std::string whole = text + std::string(":3:4:5");
        EXPECT_TRUE(mac_is_the_librarys(whole.c_str())) << whole;
    });
}

// A mark ends an address as the end of the word does.
TEST(ParseMacAddr, OneDigitBeforeAMark)
{
    unsigned char mac[6] = {};
    unsigned char mask[6] = {};
    int rangeMode = 0;
    int inverseFlag = 0;
    EXPECT_EQ(parse_mac_addr("0:0:0:0:0:1~0:0:0:0:0:2", mac, mask, &rangeMode, &inverseFlag), 0);
    EXPECT_EQ(parse_mac_addr("0:0:0:0:0:1/0:0:0:0:0:3", mac, mask, &rangeMode, &inverseFlag), 0);
    EXPECT_EQ(parse_mac_addr("0:0:0:0:0:1/~0:0:0:0:0:2", mac, mask, &rangeMode, &inverseFlag), -1);
    EXPECT_EQ(parse_mac_addr("0:0:0:0:0:1/x~0:0:0:0:0:2", mac, mask, &rangeMode, &inverseFlag), -1);
    EXPECT_EQ(parse_mac_addr("0:0:0:0:0:01/x~0:0:0:0:0:2", mac, mask, &rangeMode, &inverseFlag), 0);
}

// IPv6 addresses

std::string formatted(const in6_addr &address)
{
    char text[address_text_size];
    return ip62str(&address, text, sizeof text);
}

// What the C library makes of eight groups; false for another text.
bool text_is_the_librarys(const std::array<u16, 8> &groups, std::string *text)
{
    in6_addr address = {};
    for (size_t i = 0; i < groups.size(); i++) {
        address.s6_addr[2 * i] = static_cast<u8>(groups[i] >> 8);
        address.s6_addr[2 * i + 1] = static_cast<u8>(groups[i] & 0xFF);
    }
    char expected[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, &address, expected, sizeof expected);
    *text = formatted(address);
    return *text == expected;
}

// Every run of zero groups, with short and long numbers between them, and what marks a mapped IPv4 address.
TEST(Ip62Str, EveryRunOfZeroGroups)
{
    constexpr std::array<u16, 5> values = {0, 1, 0x20, 0xd3ba, 0xffff};
    Verdict verdict;
    every_text("", "\1\2\3\4\5", 8, [&](const char *chosen) {
        if (strlen(chosen) != 8)
            return;
        std::array<u16, 8> groups = {};
        for (size_t i = 0; i < groups.size(); i++)
            groups[i] = values[static_cast<size_t>(chosen[i] - 1)];
        std::string text;
        const bool same = text_is_the_librarys(groups, &text);
        verdict(same, text.c_str());
    });
    EXPECT_EQ(verdict.texts, 390625);
    EXPECT_TRUE(verdict.good) << verdict.first;
}

// Every group of an address that shows one.
TEST(Ip62Str, EveryValueOfAGroup)
{
    for (u32 value = 0; value <= 0xFFFF; value++) {
        const auto group = static_cast<u16>(value);
        std::string text;
        EXPECT_TRUE(text_is_the_librarys({0x2001, 0xdb8, 0, group, 0, 0, 0, 1}, &text)) << text;
        EXPECT_TRUE(text_is_the_librarys({0, 0, 0, 0, 0, group, 0x0102, 0x0304}, &text)) << text;
        EXPECT_TRUE(text_is_the_librarys({0, 0, 0, 0, 0, 0, group, 0}, &text)) << text;
        EXPECT_TRUE(text_is_the_librarys({0, 0, 0, 0, 0, 0xffff, 0, group}, &text)) << text;
    }
}

// Each of these is how the address it stands for is written.
TEST(Ip62Str, KnownTexts)
{
    for (const char *text :
         {"::", "::1", "1::", "::0.1.0.2", "::0.2.0.0", "::211.186.84.181", "::ffff:1.2.3.4", "::ffff:0.0.0.0",
          "::fffe:102:304", "::ffff:0:102:304", "0:1:2:3:4:5:6:7", "1:0:2:3:4:5:6:0", "1::2:0:0:3:4", "1:0:0:2::3",
          "0:0:2::3:4", "1:2:3:4:5:6::", "0:0:1::", "ff02::1:ff00:1", "2001:db8::a0b:c0d"}) {
        in6_addr address = {};
        ASSERT_EQ(inet_pton(AF_INET6, text, &address), 1) << text;
        EXPECT_EQ(formatted(address), text);
    }
}

} // namespace
