#include "seam_output.h"

#include "output.h"
#include "words.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static char captured[printed_most];
static size_t length = 0;
static bool to_standard_output = false;
static bool buffered = false;

void print_to_standard_output()
{
    to_standard_output = true;
}

void forget_printed()
{
    length = 0;
    captured[0] = '\0';
}

const char *printed()
{
    return captured;
}

static bool tells_trouble(const char *line)
{
    return begins(line, "Err: ", 5) || begins(line, "Invalid ", 8) || begins(line, "hw ", 3);
}

// The first line that tells of trouble, or null.
static const char *find_trouble()
{
    for (const char *line = captured; line != nullptr; line = strchr(line, '\n')) {
        line += *line == '\n';
        if (tells_trouble(line))
            return line;
    }
    return nullptr;
}

bool printed_trouble()
{
    return length != 0 && find_trouble() != nullptr;
}

const char *printed_reason()
{
    static char reason[sizeof captured];
    const char *line = find_trouble();
    if (line == nullptr)
        line = captured;
    size_t size = strcspn(line, "\n");
    while (size > 0 && line[size - 1] == ' ')
        size--;
    snprintf(reason, sizeof reason, "%.*s", static_cast<int>(size), line);
    return size == 0 || begins(reason, "Fail!", 5) || begins(reason, "Usage:", 6) ? nullptr : reason;
}

void expect_output()
{
    static char buffer[16384];
    if (to_standard_output && !buffered) {
        setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
        buffered = true;
    }
}

[[gnu::format(printf, 1, 0)]] static void keep(const char *format, va_list values)
{
    if (length + 1 >= sizeof captured)
        return;
    const int more = vsnprintf(captured + length, sizeof captured - length, format, values);
    if (more > 0)
        length += static_cast<size_t>(more);
    if (length >= sizeof captured)
        length = sizeof captured - 1;
}

void print(const char *format, ...)
{
    va_list values;
    va_start(values, format);
    keep(format, values);
    va_end(values);
    if (!to_standard_output)
        return;
    expect_output();
    va_start(values, format);
    vprintf(format, values);
    va_end(values);
}

// As keep would, and at a tenth of its cost: files are read by commands that print their usage.
static void keep_text(const char *text, size_t size)
{
    const size_t room = sizeof captured - 1 - length;
    if (size > room)
        size = room;
    memcpy(captured + length, text, size);
    length += size;
    captured[length] = '\0';
}

void print_line(const char *text)
{
    keep_text(text, strlen(text));
    keep_text("\n", 1);
    if (!to_standard_output)
        return;
    expect_output();
    puts(text);
}

int finish_output()
{
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? 0 : -1;
}
