// A file of commands: its text, and its lines as words.
//
// Blanks and tabs divide words, however many stand together; so an empty device name cannot be written. A line may end
// in CR LF. Blank lines and those that begin with "#" are passed over.
#ifndef KXQOS_CONFIG_FILE_H
#define KXQOS_CONFIG_FILE_H

#include <stdint.h>

struct file {
    const char *name; // as messages call it
    char *text;       // its bytes, in static storage; the ends of words are overwritten as lines are read
    uint32_t size;
};

// Reads FILE, or standard input for "-". Returns false when it is not to be had, or when no file of commands can be
// like that (bytes of zero, no newline at its end, too large), and has said so.
bool load_file(const char *name, file *loaded);

inline constexpr int line_words_most = 1023;

// Where a line stands in the text.
struct place {
    uint32_t start;
    uint32_t size;   // without its newline
    uint32_t number; // from 1; 0: nowhere
};

struct line {
    place where;
    int count; // 0 for a line that has too many
    const char *words[line_words_most];
};

// Where the reading stands; begins as zeros.
struct position {
    uint32_t next;   // in the text
    uint32_t number; // of the line last read
};

// The next line that is neither blank nor a comment. Returns false after the last.
bool next_line(const file &file, position *position, line *line);

// How many bytes behind a line's characters must be there to be read, the first of them its newline or a terminator.
inline constexpr int line_reserve = 8;

// Divides the line at text, which has size characters, one at least, and its reserve: each word is terminated where it
// stands. A line that was divided can be divided again.
void divide_line(char *text, uint32_t size, line *line);

// Says "FILE:LINE: what is wrong: the line".
void say_at(const file &file, place where, const char *wrong);

#endif
