#include "file.h"

#include "message.h"
#include "words.h"

#include <endian.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

// A full gateway has some 150 KB.
static constexpr uint32_t size_most = 4 << 20;

static bool refuse(const char *name, const char *wrong)
{
    say("%s: %s", name, wrong);
    return false;
}

// A pipe that nobody writes to, or a device, would be waited for.
static int open_file(const char *name)
{
    const int fd = open(name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status;
    if (fd < 0 || fstat(fd, &status) != 0) {
        refuse(name, strerror(errno));
    } else if (!S_ISREG(status.st_mode)) {
        refuse(name, "not a regular file");
    } else {
        return fd;
    }
    if (fd >= 0)
        close(fd);
    return -1;
}

static bool read_all(const char *name, int fd, char *text, uint32_t *size)
{
    *size = 0;
    for (;;) {
        const ssize_t got = read(fd, text + *size, size_most + 1 - *size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return refuse(name, strerror(errno));
        if (got == 0)
            return true;
        *size += static_cast<uint32_t>(got);
        if (*size > size_most)
            return refuse(name, "larger than 4 MiB");
    }
}

static uint32_t line_number(const file &file, uint32_t where)
{
    uint32_t number = 1;
    for (uint32_t i = 0; i < where; i++)
        number += file.text[i] == '\n';
    return number;
}

static bool check_bytes(const file &file)
{
    if (const void *zero = memchr(file.text, '\0', file.size)) {
        const auto where = static_cast<uint32_t>(static_cast<const char *>(zero) - file.text);
        say("%s:%u: a byte of zero", file.name, line_number(file, where));
        return false;
    }
    if (file.size != 0 && file.text[file.size - 1] != '\n') {
        say("%s:%u: the last line has no newline: the file was cut off", file.name, line_number(file, file.size));
        return false;
    }
    return true;
}

// Once for a file, so small rather than fast; as is what else is no line's.
[[gnu::cold]] bool load_file(const char *name, file *loaded)
{
    static char text[size_most + line_reserve];
    const bool standard = equals(name, "-");
    const int fd = standard ? STDIN_FILENO : open_file(name);
    if (fd < 0)
        return false;
    *loaded = {standard ? "standard input" : name, text, 0};
    const bool read = read_all(loaded->name, fd, text, &loaded->size);
    if (!standard)
        close(fd);
    return read && check_bytes(*loaded);
}

// The end of an earlier word, too.
static bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\0';
}

// What most words are made of, and what stands behind a line is not.
static bool is_printed(char c)
{
    return static_cast<unsigned char>(c) > ' ';
}

// Eight characters at once, because most words are no longer. The highest bit of each byte that is no such character
// is set, of the first for certain: 0x21 is taken from each byte, and what is borrowed goes upwards.
static char *skip_printed(char *text)
{
    constexpr uint64_t each = 0x0101010101010101;
    for (;; text += sizeof each) {
        uint64_t bytes = 0;
        memcpy(&bytes, text, sizeof bytes);
        bytes = le64toh(bytes);
        const uint64_t others = (bytes - each * 0x21) & ~bytes & each * 0x80;
        if (others != 0)
            return text + __builtin_ctzll(others) / 8;
    }
}

// What stands behind a line ends its last word too.
static char *word_end(char *text, const char *end)
{
    do
        text = skip_printed(text + 1);
    while (text != end && !is_blank(*text));
    return text;
}

void divide_line(char *text, uint32_t size, line *line)
{
    const char *end = text + size;
    if (end[-1] == '\r')
        end--;
    line->count = 0;
    for (;;) {
        while (!is_printed(*text) && (text == end || is_blank(*text)))
            if (text++ == end)
                return;
        if (line->count == line_words_most) {
            line->count = 0;
            return;
        }
        line->words[line->count++] = text;
        text = word_end(text, end);
        *text = '\0';
        if (text++ == end)
            return;
    }
}

// Whether anything stands on the line that is to be looked at.
static bool has_words(const char *text, uint32_t size)
{
    for (uint32_t i = 0; i < size; i++)
        if (!is_blank(text[i]))
            return text[i] != '#' && !(text[i] == '\r' && i + 1 == size);
    return false;
}

static uint32_t line_size(const file &file, uint32_t start)
{
    const void *end = memchr(file.text + start, '\n', file.size - start);
    return static_cast<uint32_t>(static_cast<const char *>(end) - file.text) - start;
}

bool next_line(const file &file, position *position, line *line)
{
    while (position->next < file.size) {
        const uint32_t start = position->next;
        const uint32_t size = line_size(file, start);
        position->next = start + size + 1;
        position->number++;
        if (!has_words(file.text + start, size))
            continue;
        line->where = {start, size, position->number};
        divide_line(file.text + start, size, line);
        return true;
    }
    return false;
}

// As much of a line as a message shows.
static constexpr int shown_most = 4095;

// The line for people. It has a word.
static void clean_copy(const char *text, uint32_t size, char (&copy)[shown_most + 1])
{
    while (is_blank(*text)) {
        text++;
        size--;
    }
    while (size > 0 && (is_blank(text[size - 1]) || text[size - 1] == '\r'))
        size--;
    if (size > shown_most)
        size = shown_most;
    for (uint32_t i = 0; i < size; i++)
        copy[i] = is_blank(text[i]) ? ' ' : text[i];
    copy[size] = '\0';
}

[[gnu::cold]] void say_at(const file &file, place where, const char *wrong)
{
    char copy[shown_most + 1];
    clean_copy(file.text + where.start, where.size, copy);
    say("%s:%u: %s: %s", file.name, where.number, wrong, copy);
}
