#include "number.h"
#include "loss.h"
#include "output.h"

#include <string.h>

// kept: the largest mask of a match value, whatever the field's own maximum
static constexpr u32 mask_maximum = 65535;
static constexpr u32 default_mask = 0xFFFF;

int is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

u32 hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<u32>(c - '0');
    const u32 letter = static_cast<u32>((c | 0x20) - 'a');
    return letter < 6 ? letter + 10 : 16;
}

unsigned long long read_number(const char *text, const char **stop, u32 base)
{
    const unsigned long long largest = base == 0 ? ~0ULL : ~0ULL >> 1;
    *stop = text;
    while (is_blank(*text)) {
        lose("a blank");
        text++;
    }
    const bool negative = *text == '-';
    if (negative || *text == '+')
        text++;
    if (base == 0) {
        base = *text == '0' ? 8 : 10;
        if (base == 8 && (text[1] | 0x20) == 'x') {
            base = 16;
            *stop = text + 1; // without a digit after the x it is a 0 that ends there
            text += 2;
        }
    }
    unsigned long long value = 0;
    bool overflow = false;
    for (;;) {
        auto digit = static_cast<u32>(*text - '0');
        if (digit > 9 && base > 10) // most digits need no call
            digit = hex_digit(*text);
        if (digit >= base)
            break;
        if (value > (largest - digit) / base)
            overflow = true;
        value = value * base + digit;
        *stop = ++text;
    }
    if (overflow || value > (negative ? 0x80000000 : 0xFFFFFFFF)) // -1 is the highest number of 32 bits, too
        lose("the high bits of a number");
    if (overflow)
        return ~0ULL;
    return negative ? -value : value;
}

// Reads the number that begins at text and must be ended by the word's terminator or by the mark that divides it. The
// conversion stops at either by itself, so no copy of the text is needed. A blank ends the number too, and
// hides what follows.
static int parse_number(const char *text, char end, u32 *val, u32 min, u32 max)
{
    const char *stop = nullptr;
    *val = static_cast<u32>(read_number(text, &stop, 0));
    if (*stop != end && *stop != ' ') {
        print_line("Err: parameter format error, required a interger input ");
        return -1;
    }
    if (*val < min || *val > max) {
        print("Err: parameter '%d' beyond the range (%d~%d) \n", static_cast<int>(*val), static_cast<int>(min),
              static_cast<int>(max));
        return -1;
    }
    return 0;
}

int parse_u32(const char *argStr, u32 *val, int min, int max)
{
    if (argStr == nullptr)
        return -1;
    return parse_number(argStr, '\0', val, static_cast<u32>(min), static_cast<u32>(max));
}

template <typename Narrow> static int parse_narrow(const char *argStr, Narrow *val, int min, int max)
{
    u32 wide = 0;
    if (parse_u32(argStr, &wide, min, max) != 0)
        return -1;
    *val = static_cast<Narrow>(wide);
    return 0;
}

int parse_u16(const char *argStr, u16 *val, int min, int max)
{
    return parse_narrow(argStr, val, min, max);
}

int parse_u8(const char *argStr, u8 *val, int min, int max)
{
    return parse_narrow(argStr, val, min, max);
}

static const char *find_mark(const char *text, char mark)
{
    while (*text != '\0' && *text != mark)
        text++;
    return *text != '\0' ? text : nullptr;
}

// "begin~end": either may be left out, and stands for 0 or max then.
static int parse_range(const char *text, const char *tilde, u32 *begin, u32 *end, u32 max)
{
    const char *endText = tilde + 1;
    *begin = 0;
    if (tilde != text && parse_number(text, '~', begin, 0, max) != 0)
        return -1;
    *end = max;
    if (*endText != '\0' && parse_number(endText, '\0', end, 0, max) != 0)
        return -1;
    return *end < *begin ? -1 : 0;
}

// "value/mask": neither may be left out.
static int parse_masked(const char *text, const char *slash, u32 *value, u32 *mask, u32 max)
{
    const char *maskText = slash + 1;
    if (slash == text || *maskText == '\0') {
        print_line("Err: parameter format error, required value/mask input ");
        return -1;
    }
    if (parse_number(text, '/', value, 0, max) != 0)
        return -1;
    return parse_number(maskText, '\0', mask, 0, mask_maximum);
}

int parse_u32_with_range(const char *argStr, u32 *begin, u32 *end, int /*min*/, int max, int *rangeMode,
                         int *inverseFlag)
{
    if (argStr == nullptr)
        return -1;
    *inverseFlag = *argStr == '!';
    const char *text = argStr + *inverseFlag;
    const u32 maximum = static_cast<u32>(max);

    // The first mark counts here, and "~" before "/"; for addresses it is the last.
    if (const char *tilde = find_mark(text, '~')) {
        if (parse_range(text, tilde, begin, end, maximum) != 0)
            return -1;
        *rangeMode = 1;
        return 0;
    }
    if (const char *slash = find_mark(text, '/')) {
        if (parse_masked(text, slash, begin, end, maximum) != 0)
            return -1;
    } else {
        if (parse_number(text, '\0', begin, 0, maximum) != 0)
            return -1;
        *end = default_mask;
    }
    *rangeMode = 0;
    return 0;
}

template <typename Narrow>
static int parse_narrow_with_range(const char *argStr, Narrow *begin, Narrow *end, int min, int max, int *rangeMode,
                                   int *inverseFlag)
{
    u32 wideBegin = 0;
    u32 wideEnd = 0;
    if (parse_u32_with_range(argStr, &wideBegin, &wideEnd, min, max, rangeMode, inverseFlag) != 0)
        return -1;
    // kept: a mask wider than the field loses its upper bits
    if (*rangeMode == 0 && wideEnd > static_cast<Narrow>(~0) && strchr(argStr, '/') != nullptr)
        lose("the high bits of the mask");
    *begin = static_cast<Narrow>(wideBegin);
    *end = static_cast<Narrow>(wideEnd);
    return 0;
}

int parse_u16_with_range(const char *argStr, u16 *begin, u16 *end, int min, int max, int *rangeMode, int *inverseFlag)
{
    return parse_narrow_with_range(argStr, begin, end, min, max, rangeMode, inverseFlag);
}

int parse_u8_with_range(const char *argStr, u8 *begin, u8 *end, int min, int max, int *rangeMode, int *inverseFlag)
{
    return parse_narrow_with_range(argStr, begin, end, min, max, rangeMode, inverseFlag);
}

int string_to_number_ll(const char *s, unsigned long long min, unsigned long long max, unsigned long long *ret)
{
    const char *stop = nullptr;
    const unsigned long long value = read_number(s, &stop, 0);
    if (stop == s || *stop != '\0' || value < min || (max != 0 && value > max))
        return -1;
    *ret = value;
    return 0;
}

int string_to_number_l(const char *s, unsigned long min, unsigned long max, unsigned long *ret)
{
    unsigned long long value = 0;
    const int result = string_to_number_ll(s, min, max, &value);
    *ret = static_cast<unsigned long>(value);
    return result;
}

int string_to_number(const char *s, unsigned int min, unsigned int max, unsigned int *ret)
{
    unsigned long value = 0;
    const int result = string_to_number_l(s, min, max, &value);
    *ret = static_cast<unsigned int>(value);
    return result;
}

int u8_bitmap_get_next_bit(const u8 *bitmap, int size, int *bit)
{
    for (int i = *bit; i < size; i++) {
        if ((bitmap[i / 8] >> (i % 8) & 1) != 0) {
            *bit = i + 1;
            return 1;
        }
    }
    return 0;
}

char *put_decimal(char *out, u32 value)
{
    char digits[10];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (count > 0)
        *out++ = digits[--count];
    *out = '\0';
    return out;
}

char *put_hex(char *out, u32 value, int digits)
{
    int count = 1;
    while (count < 8 && value >> (4 * count) != 0)
        count++;
    if (count < digits)
        count = digits;
    while (count > 0)
        *out++ = "0123456789abcdef"[value >> (4 * --count) & 0xF];
    *out = '\0';
    return out;
}
