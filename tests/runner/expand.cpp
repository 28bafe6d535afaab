#include "expand.h"

#include "text.h"

#include <array>
#include <string_view>

namespace {

std::string little_endian(long number, int size)
{
    std::string bytes;
    for (int i = 0; i < size; i++)
        bytes += static_cast<char>(static_cast<unsigned long>(number) >> (8 * i));
    return to_hex(bytes);
}

// Everything else in braces stands for itself: the tool prints braces too.
std::string filled_in(std::string text, long n)
{
    if (text.find("{n") == std::string::npos)
        return text;
    for (auto [name, number] : {std::pair{"{n", n}, std::pair{"{n-1", n - 1}, std::pair{"{n+1", n + 1}}) {
        text = replaced(text, name + std::string("}"), std::to_string(number));
        text = replaced(text, name + std::string(".le16}"), little_endian(number, 2));
        text = replaced(text, name + std::string(".le32}"), little_endian(number, 4));
    }
    return text;
}

void repeat(const std::vector<Line> &body, long first, long last, std::vector<Line> &out)
{
    bool whole_steps = false;
    for (const Line &line : body)
        whole_steps = whole_steps || line.text.starts_with("$");
    for (long n = first; n <= last; n++) {
        for (const Line &line : body)
            out.push_back({line.number, filled_in(line.text, n)});
        if (whole_steps)
            out.push_back({body.back().number, ""});
    }
}

std::pair<long, long> loop_bounds(const Line &line, const Words &words)
{
    if (words[0] == "for" && words.size() == 3) {
        long first = to_number(words[1]);
        long last = to_number(words[2]);
        if (first >= 0 && first <= last)
            return {first, last};
    }
    throw FormatError{line.number, "expected 'for A B' ... 'end', A not above B"};
}

// "{TEXT*N}", i being at the brace; moves i to the closing one.
std::optional<std::string> repeated(const std::string &text, size_t &i)
{
    size_t end = text.find('}', i);
    size_t star = text.rfind('*', end);
    if (end == std::string::npos || star == std::string::npos || star < i)
        return std::nullopt;
    long times = to_number(text.substr(star + 1, end - star - 1));
    if (times == none)
        return std::nullopt;
    std::string all;
    for (long n = 0; n < times; n++)
        all += text.substr(i + 1, star - i - 1);
    i = end;
    return all;
}

// What a backslash in "..." and the characters after it stand for, i being at the first of them; moves i to the last.
std::string escaped(const Line &line, size_t &i)
{
    char c = i < line.text.size() ? line.text[i] : '\0';
    std::optional<std::string> result;
    switch (c) {
    case 't':
        return "\t";
    case 'n':
        return "\n";
    case 'r':
        return "\r";
    case '\\':
    case '"':
        return {c};
    case 'x':
        result = from_hex(line.text.substr(i + 1, 2));
        i += 2;
        break;
    case '{':
        result = repeated(line.text, i);
        break;
    default:
        break;
    }
    // A word cannot hold a NUL.
    if (!result || result->find('\0') != std::string::npos || (c == 'x' && result->size() != 1))
        throw FormatError{line.number, "unknown escape in \"...\""};
    return *result;
}

// What a file cannot hold in plain sight is marked in it.
constexpr std::array<std::pair<const char *, const char *>, 3> marks = {{{"␠", " "}, {"␉", "\t"}, {"␍", "\r"}}};

} // namespace

std::vector<Line> without_loops(const std::vector<Line> &lines)
{
    std::vector<Line> out;
    for (size_t i = 0; i < lines.size(); i++) {
        if (!lines[i].text.starts_with("for") && !lines[i].text.starts_with("end")) {
            out.push_back(lines[i]);
            continue;
        }
        Words words = split(lines[i].text, ' ');
        auto [first, last] = loop_bounds(lines[i], words);
        std::vector<Line> body;
        size_t end = i + 1;
        for (; end < lines.size() && lines[end].text != "end"; end++) {
            if (lines[end].text.starts_with("for "))
                throw FormatError{lines[end].number, "'for' within 'for'"};
            body.push_back(lines[end]);
        }
        if (end == lines.size() || body.empty())
            throw FormatError{lines[i].number, "'for' with nothing in it, or without 'end'"};
        repeat(body, first, last, out);
        i = end;
    }
    return out;
}

Words command_words(const Line &line)
{
    const std::string &text = line.text;
    Words words;
    bool in_word = false;
    char quote = 0;
    for (size_t i = 2; i < text.size(); i++) {
        char c = text[i];
        if (quote == 0 && c == ' ') {
            in_word = false;
            continue;
        }
        if (!in_word) {
            words.emplace_back();
            in_word = true;
        }
        if (quote == 0 && (c == '\'' || c == '"'))
            quote = c;
        else if (quote != 0 && c == quote)
            quote = 0;
        else
            words.back() += quote == '"' && c == '\\' ? escaped(line, ++i) : std::string(1, c);
    }
    if (quote != 0)
        throw FormatError{line.number, "a quote that is not closed"};
    if (words.empty() || words[0] != "kxqosctl")
        throw FormatError{line.number, "expected '$ kxqosctl WORDS'"};
    words.erase(words.begin());
    return words;
}

std::string without_marks(std::string text)
{
    for (auto [mark, character] : marks)
        text = replaced(text, mark, character);
    return text;
}

std::string with_marks(const std::string &line)
{
    std::string text;
    for (size_t i = 0; i < line.size(); i++) {
        char c = line[i];
        bool plain_blank = c == ' ' && line.find_first_not_of(' ', i) != std::string::npos;
        const char *mark = nullptr;
        for (auto [name, character] : marks)
            if (c == *character && !plain_blank)
                mark = name;
        if (mark != nullptr)
            text += mark;
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            text += "\\x" + to_hex(std::string(1, c));
        else
            text += c;
    }
    return text;
}
