// Writes the fuzzers' dictionary to a file: every word of the tool's tables and usage texts, each ended by a NUL as in
// the inputs; then what is in none of them, marks and values.
//
//   dictionary FILE
#include "gateway.h"

#include "action_fields.h"
#include "commands.h"
#include "match_fields.h"
#include "profiles.h"
#include "settings.h"

#include <ctype.h>
#include <set>
#include <stdio.h>
#include <string>

using word_set = std::set<std::string>;

static bool is_lower(char c)
{
    return c >= 'a' && c <= 'z';
}

// Adds the words of a usage text, but for operands, as <mac>. Those of its sentences do no harm.
static void add_words(word_set *words, std::string_view text)
{
    std::string word;
    bool operand = false;
    for (const char c : text) {
        if (isalnum(static_cast<unsigned char>(c)) != 0 || c == '-') {
            word += c;
            continue;
        }
        if (!operand && !word.empty() && is_lower(word[0]))
            words->insert(word);
        word.clear();
        operand = c == '<' || (operand && c != '>');
    }
}

static word_set all_words()
{
    word_set words = {"?", "del"}; // the menu; and what "test host" takes where its usage says "delete"
    for (const command &row : commands) {
        words.insert(row.name);
        run_tool({row.name}, {}, tail::zeros);
        add_words(&words, output());
    }
    for (const match_field &row : match_fields)
        words.insert(row.keyword);
    for (const action_field &row : action_fields)
        if (row.keyword[0] != '\0')
            words.insert(row.keyword);
    for (int profile = 0; profile < KXQOS_PROFILE_MAX; profile++)
        words.insert(qosProfileName[profile].name);
    for (const debug_category &category : debug_categories)
        words.insert(category.prefix);
    return words;
}

int main(int count, char **arguments)
{
    FILE *file = count == 2 ? fopen(arguments[1], "w") : nullptr;
    if (file == nullptr) {
        fputs("usage: dictionary FILE\n", stderr);
        return 2;
    }
    for (const std::string &word : all_words())
        fprintf(file, "\"%s\\x00\"\n", word.c_str());
    for (const char *value : {"queue\\x003\\x00", "!", "~", "/", "0x", "00:11:22:33:44:55", "10.0.0.1", "255.255.255.0",
                              "2001:db8::1", "::", "4294967295", "65535", "eth0.100"})
        fprintf(file, "\"%s\"\n", value);
    return fclose(file);
}
