/* Text put together without a C library, for the kernel log and the trace. What does not fit is cut off. */
#ifndef LAB_TEXT_H
#define LAB_TEXT_H

#ifdef __KERNEL__
#include <linux/string.h>
#include <linux/types.h>
#else
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#endif

/* Always terminated; size counts the terminator. */
struct text {
    char *start;
    size_t size;
    size_t length;
};

#ifndef __cplusplus /* their conversions are C's */

static inline struct text text_in(char *start, size_t size)
{
    struct text text = {start, size, 0};

    start[0] = '\0';
    return text;
}

static inline void text_char(struct text *text, char character)
{
    if (text->length + 1 < text->size) {
        text->start[text->length++] = character;
        text->start[text->length] = '\0';
    }
}

static inline void text_words(struct text *text, const char *words)
{
    for (; *words != '\0'; words++)
        text_char(text, *words);
}

static inline void text_number(struct text *text, uint64_t number)
{
    char digits[20];
    size_t count = 0;

    do {
        digits[count++] = (char)('0' + number % 10);
        number /= 10;
    } while (number != 0);
    while (count > 0)
        text_char(text, digits[--count]);
}

static inline void text_signed(struct text *text, int64_t number)
{
    if (number < 0)
        text_char(text, '-');
    text_number(text, number < 0 ? 0 - (uint64_t)number : (uint64_t)number);
}

/* The lowest count digits of number, lower case. */
static inline void text_hex(struct text *text, uint64_t number, unsigned count)
{
    while (count-- > 0)
        text_char(text, "0123456789abcdef"[number >> (4 * count) & 0xf]);
}

static inline void text_bytes(struct text *text, const void *bytes, size_t count)
{
    const uint8_t *byte = bytes;

    for (size_t i = 0; i < count; i++)
        text_hex(text, byte[i], 2);
}

static inline bool text_same(const char *left, const char *right)
{
    while (*left != '\0' && *left == *right) {
        left++;
        right++;
    }
    return *left == *right;
}

#endif

#endif
