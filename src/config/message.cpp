#include "message.h"

#include <stdarg.h>
#include <stdio.h>

void say(const char *format, ...)
{
    // Longer than the longest place, reason and line together, and written as one piece.
    char text[9000];
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(text, sizeof text - 1, format, values);
    va_end(values);
    if (length >= 0)
        fprintf(stderr, "kxqos-config: %s\n", text);
}
