// Parsers: each parser and formatter against an oracle of its own. Input: one byte for the function, four for the
// maximum, one for the minimum, then the word (or the raw bytes of what is formatted).
#include "address.h"
#include "gateway.h"
#include "number.h"
#include "oracle.h"

#include <stdlib.h>
#include <string.h>

// What the outputs hold beforehand, so that a write, or none, is seen.
static constexpr int untouched = 0x5A5A5A5A;

static const uint8_t *rawBytes;
static size_t rawSize;
static char *word;
static int minimum;
static int maximum;

static bool same(const void *a, const void *b, size_t size)
{
    return memcmp(a, b, size) == 0;
}

template <typename Number> static Number filled()
{
    Number number;
    memset(&number, 0x5A, sizeof number);
    return number;
}

template <typename Number, typename Tool, typename Oracle> static void number_alone(Tool tool, Oracle oracle)
{
    auto seen = filled<Number>();
    auto expected = filled<Number>();
    const int result = tool(word, &seen, minimum, maximum);
    check(result == oracle(word, &expected, minimum, maximum), "a number: the result");
    check(seen == expected, "a number: the value");
}

template <typename Narrow, typename Tool> static void number_with_range(Tool tool)
{
    auto begin = filled<Narrow>();
    auto end = filled<Narrow>();
    int range = untouched;
    int inverse = untouched;
    const int result = tool(word, &begin, &end, minimum, maximum, &range, &inverse);
    auto wideBegin = filled<uint32_t>();
    auto wideEnd = filled<uint32_t>();
    int expectedRange = untouched;
    int expectedInverse = untouched;
    check(result == oracle::parse_u32_with_range(word, &wideBegin, &wideEnd, maximum, &expectedRange, &expectedInverse),
          "a match value: the result");
    check(range == expectedRange && inverse == expectedInverse, "a match value: the flags");
    if (result == 0)
        check(begin == static_cast<Narrow>(wideBegin) && end == static_cast<Narrow>(wideEnd),
              "a match value: the values");
    else if (sizeof(Narrow) < sizeof(uint32_t))
        check(begin == filled<Narrow>() && end == filled<Narrow>(), "a match value: written in spite of failure");
    else
        check(begin == wideBegin && end == wideEnd, "a match value: the values of a failure");
}

template <typename Number, typename Tool, typename Oracle> static void converter(Tool tool, Oracle oracle)
{
    auto seen = filled<Number>();
    auto expected = filled<Number>();
    const auto low = static_cast<unsigned>(minimum);
    const auto high = static_cast<unsigned>(maximum);
    check(tool(word, low, high, &seen) == oracle(word, low, high, &expected), "a converter: the result");
    check(seen == expected, "a converter: the value");
}

// How much of the outputs of a failed address parser is settled: only the flags.
template <typename Address, typename Tool, typename Oracle> static void address_word(Tool tool, Oracle oracle)
{
    auto value = filled<Address>();
    auto second = filled<Address>();
    auto expectedValue = filled<Address>();
    auto expectedSecond = filled<Address>();
    int range = untouched;
    int inverse = untouched;
    int expectedRange = untouched;
    int expectedInverse = untouched;
    const int result = tool(word, &value, &second, &range, &inverse);
    check(result == oracle(word, &expectedValue, &expectedSecond, &expectedRange, &expectedInverse),
          "an address: the result");
    check(inverse == expectedInverse && range == expectedRange, "an address: the flags");
    if (result == 0)
        check(same(&value, &expectedValue, sizeof value) && same(&second, &expectedSecond, sizeof second),
              "an address: the values");
}

struct mac_t {
    unsigned char bytes[6];
};

static void mac_word()
{
    address_word<mac_t>(
        [](const char *w, mac_t *a, mac_t *b, int *r, int *i) { return parse_mac_addr(w, a->bytes, b->bytes, r, i); },
        [](const char *w, mac_t *a, mac_t *b, int *r, int *i) {
            return oracle::parse_mac_addr(w, a->bytes, b->bytes, r, i);
        });
}

template <typename Tool, typename Oracle> static void quad(Tool tool, Oracle oracle)
{
    uint32_t seen = 0;
    uint32_t expected = 0;
    const int result = tool(word, &seen);
    check(result == oracle(word, &expected), "a dotted quad: the result");
    check(result != 0 || seen == expected, "a dotted quad: the value");
}

static void ipv6_mask_word()
{
    const in6_addr seen = parse_ip6_mask(word);
    const in6_addr expected = oracle::parse_ip6_mask(word);
    check(same(&seen, &expected, sizeof seen), "an IPv6 mask");
}

// Formatters: all of the buffer is cleared, and nothing after it is touched.
template <typename Format> static void formatted(Format format, const std::string &expected)
{
    char buffer[address_text_size]; // between bytes that nobody may touch, as any array is here
    memset(buffer, 'x', sizeof buffer);
    check(format(buffer) == buffer, "a formatter returns another buffer");
    check(buffer == expected, "a formatter's text");
    for (size_t i = expected.size(); i < sizeof buffer; i++)
        check(buffer[i] == '\0', "a buffer is not cleared");
}

// The raw bytes, followed by zeros.
template <typename Value> static Value raw()
{
    Value value;
    memset(&value, 0, sizeof value);
    memcpy(&value, rawBytes, rawSize < sizeof value ? rawSize : sizeof value);
    return value;
}

static void formatters()
{
    const auto mac = raw<mac_t>();
    const auto quad = raw<uint32_t>();
    const auto address = raw<in6_addr>();
    in6_addr prefix = {};
    for (unsigned i = 0; i < rawBytes[0] % 129U; i++)
        prefix.s6_addr[i / 8] = static_cast<uint8_t>(prefix.s6_addr[i / 8] | 0x80U >> (i % 8));
    formatted([&](char *out) { return mac2str(mac.bytes, out, address_text_size); }, oracle::mac2str(mac.bytes));
    formatted([&](char *out) { return ip2str(quad, out, address_text_size); }, oracle::ip2str(quad));
    formatted([&](char *out) { return ip62str(&address, out, address_text_size); }, oracle::ip62str(address));
    for (const in6_addr &mask : {address, prefix}) {
        check(ip6mask2cidr(&mask) == oracle::ip6mask2cidr(mask), "a prefix length");
        formatted([&](char *out) { return ip6mask2str(&mask, out, address_text_size); }, oracle::ip6mask2str(mask));
    }
}

static void bits_and_digits()
{
    struct bitmap_t {
        uint8_t bytes[4];
    };
    const auto bitmap = raw<bitmap_t>();
    int bit = 0;
    for (int expected = oracle::next_bit(bitmap.bytes, 0); expected != 0;
         expected = oracle::next_bit(bitmap.bytes, bit))
        check(u8_bitmap_get_next_bit(bitmap.bytes, 32, &bit) == 1 && bit == expected, "a bit is missing");
    const int last = bit;
    check(u8_bitmap_get_next_bit(bitmap.bytes, 32, &bit) == 0 && bit == last, "a bit too many");
    bit = 32 + rawBytes[0];
    check(u8_bitmap_get_next_bit(bitmap.bytes, 32, &bit) == 0 && bit == 32 + rawBytes[0], "a bit beyond the end");

    const auto number = raw<uint32_t>();
    char text[16];
    char expected[16];
    snprintf(expected, sizeof expected, "%u", number);
    check(put_decimal(text, number) == text + strlen(expected) && strcmp(text, expected) == 0, "decimal digits");
    const int digits = minimum % 9;
    snprintf(expected, sizeof expected, "%0*x", digits, number);
    check(put_hex(text, number, digits) == text + strlen(expected) && strcmp(text, expected) == 0,
          "hexadecimal digits");
}

static void (*const parsers[])() = {
    [] { number_alone<uint32_t>(parse_u32, oracle::parse_u32); },
    [] { number_alone<uint16_t>(parse_u16, oracle::parse_u16); },
    [] { number_alone<uint8_t>(parse_u8, oracle::parse_u8); },
    [] { number_with_range<uint32_t>(parse_u32_with_range); },
    [] { number_with_range<uint16_t>(parse_u16_with_range); },
    [] { number_with_range<uint8_t>(parse_u8_with_range); },
    [] { converter<unsigned long long>(string_to_number_ll, oracle::string_to_number_ll); },
    [] { converter<unsigned long>(string_to_number_l, oracle::string_to_number_l); },
    [] { converter<unsigned>(string_to_number, oracle::string_to_number); },
    mac_word,
    [] { quad(undot_ip, oracle::undot_ip); },
    [] { quad(ip_mask, oracle::ip_mask); },
    [] { address_word<uint32_t>(parse_ip_addr, oracle::parse_ip_addr); },
    [] { address_word<in6_addr>(parse_ipv6_addr, oracle::parse_ipv6_addr); },
    ipv6_mask_word,
    formatters,
    bits_and_digits,
};
static_assert(std::size(parsers) == parser_count);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 7)
        return 0;
    memcpy(&maximum, data + 1, sizeof maximum);
    minimum = data[5];
    rawBytes = data + 6;
    rawSize = size - 6;
    // The first NUL ends the word; its storage ends there, too.
    const std::string_view text(reinterpret_cast<const char *>(rawBytes),
                                strnlen(reinterpret_cast<const char *>(rawBytes), rawSize));
    word = *arguments({&text, 1});
    forget_output();
    oracle::printed.clear();
    parsers[data[0] % std::size(parsers)]();
    check(output() == std::string_view(oracle::printed.c_str()), "what is printed");
    return 0;
}
