#include "message.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

void say(const char *format, ...)
{
    // Longer than a place, a reason and a line are together unless a word is very long: then it is cut. Written as one
    // piece.
    char text[9000];
    constexpr char name[] = "kxqos-config: ";
    constexpr size_t begin = sizeof name - 1;
    memcpy(text, name, begin);
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(text + begin, sizeof text - begin - 1, format, values);
    va_end(values);
    if (length < 0)
        return;
    // Nothing moves a terminal's cursor, whoever named it.
    char *end = text;
    for (; *end != '\0'; end++)
        if (static_cast<unsigned char>(*end) < ' ' || *end == 0x7F)
            *end = '?';
    end[0] = '\n';
    end[1] = '\0';
    fputs(text, stderr);
}
