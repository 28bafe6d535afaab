// Comparison of a command-line word with a keyword. The C library's functions would do, but each costs every run that
// uses it about a thousand instructions to be found by the dynamic linker.
#ifndef KXQOSCTL_WORDS_H
#define KXQOSCTL_WORDS_H

// Whether the word begins with the keyword's first count characters. A count of one more than the keyword has asks for
// the whole word.
inline bool begins(const char *word, const char *keyword, int count)
{
    for (int i = 0; i < count; i++) {
        if (word[i] != keyword[i])
            return false;
        if (word[i] == '\0')
            break;
    }
    return true;
}

inline bool equals(const char *word, const char *keyword)
{
    while (*word != '\0' && *word == *keyword) {
        word++;
        keyword++;
    }
    return *word == *keyword;
}

#endif
