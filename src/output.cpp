#include "output.h"

#include <stdarg.h>
#include <stdio.h>

// Most commands print nothing, so the stream is looked at only when something is to be printed.
static bool expected = false;

void expect_output()
{
    // Large enough for one write of nearly every output, and no allocation.
    static char buffer[16384];
    if (!expected)
        setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    expected = true;
}

void print_line(const char *text)
{
    expect_output();
    puts(text);
}

void print(const char *format, ...)
{
    if (!expected) // a call less for each line of a dump
        expect_output();
    va_list values;
    va_start(values, format);
    vprintf(format, values);
    va_end(values);
}

int finish_output()
{
    if (!expected)
        return 0;
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? 0 : -1;
}
