// Gives an unchanged program its words from standard input, separated by NUL, for a fuzzer that knows only files.
// Preloaded; the words are read when main begins, which is after the fuzzer's fork server.
#define _GNU_SOURCE
#include "before_main.h"

#include <string.h>
#include <unistd.h>

static int in_place_of_main(int argc, char **argv, char **environment)
{
    static char text[4096];
    static char *words[64];
    (void)argc;
    int count = 0;
    words[count++] = argv[0];
    ssize_t size = 0;
    ssize_t more;
    while ((size_t)size < sizeof text - 1 && (more = read(0, text + size, sizeof text - 1 - (size_t)size)) > 0)
        size += more;
    for (char *word = text; word < text + size && count < 63; word += strlen(word) + 1)
        words[count++] = word;
    return program(count, words, environment);
}
