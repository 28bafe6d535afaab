// Argument words to numbers.
//
// Every parser returns 0, or -1 for a bad word, whose message, if any, it has printed itself. Those named parse_ refuse
// a null word silently. Numbers are read in base 0: decimal, 0x hexadecimal, leading-0 octal.
#ifndef KXQOSCTL_NUMBER_H
#define KXQOSCTL_NUMBER_H

#include <stdint.h>

using u8 = uint8_t;
using u16 = uint16_t;
using u32 = uint32_t;

// The conversions of the C library, in its C locale. They are written here because libraries differ: newer ones take
// 0b11 in base 0, which was always refused.

// Space, tab, newline, vertical tab, form feed and carriage return.
int is_blank(char c);
// The value of a hexadecimal digit, and 16 for every other character.
u32 hex_digit(char c);
// The number that text begins with; *stop is where it ends, the beginning of text if there is none. Blanks and a sign
// may stand before it. In base 0 as strtoull: -1 is the largest number, which stands for all above it too. In base 10
// as strtol, but what is beyond its range is the largest number on either side.
unsigned long long read_number(const char *text, const char **stop, u32 base);

// min and max are inclusive and compared as unsigned 32-bit numbers, so a max of -1 takes every value.
// kept: *val is written before any check, also when the call then fails; what is sent after a bad word depends on it.
int parse_u32(const char *argStr, u32 *val, int min, int max);
// *val is written only on success.
int parse_u16(const char *argStr, u16 *val, int min, int max);
int parse_u8(const char *argStr, u8 *val, int min, int max);

// Match values: "[!]value", "[!]value/mask" (*rangeMode 0, *end is the mask) or "[!]begin~end" (*rangeMode 1).
// *inverseFlag is 1 for a leading "!", and is written even when the call then fails. Without a mask *end is 0xFFFF;
// a mask is at most 65535 whatever max is. The lower bound is always 0; min is there for the callers' symmetry.
int parse_u32_with_range(const char *argStr, u32 *begin, u32 *end, int min, int max, int *rangeMode, int *inverseFlag);
// begin and end are narrowed, and written only on success.
int parse_u16_with_range(const char *argStr, u16 *begin, u16 *end, int min, int max, int *rangeMode, int *inverseFlag);
int parse_u8_with_range(const char *argStr, u8 *begin, u8 *end, int min, int max, int *rangeMode, int *inverseFlag);

// Silent converters: the whole word must be a number of min..max; a max of 0 is no upper bound.
// On failure the first leaves *ret alone and the other two set it to 0.
int string_to_number_ll(const char *s, unsigned long long min, unsigned long long max, unsigned long long *ret);
int string_to_number_l(const char *s, unsigned long min, unsigned long max, unsigned long *ret);
int string_to_number(const char *s, unsigned int min, unsigned int max, unsigned int *ret);

// The next set bit of a bitmap of size bits (bit i is bit i % 8 of byte i / 8), from index *bit on.
// Returns 1 and sets *bit to its index + 1, or returns 0 and leaves *bit alone.
int u8_bitmap_get_next_bit(const u8 *bitmap, int size, int *bit);

// Numbers as text: write it, terminated, to out and return its end. At most 10 and 8 characters.
char *put_decimal(char *out, u32 value);
// Lower case, with leading zeros up to digits (at most 8).
char *put_hex(char *out, u32 value, int digits);

#endif
