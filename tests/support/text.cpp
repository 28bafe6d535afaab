#include "text.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>

static constexpr std::string_view hex_digits = "0123456789abcdef";

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    for (size_t start = 0; start < text.size();) {
        size_t end = std::min(text.find(separator, start), text.size());
        if (end > start || separator != ' ')
            parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::string to_hex(const std::string &bytes)
{
    std::string text;
    for (char byte : bytes) {
        auto number = static_cast<unsigned char>(byte);
        text += hex_digits[number / 16];
        text += hex_digits[number % 16];
    }
    return text;
}

std::optional<std::string> from_hex(const std::string &text)
{
    if (text.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        size_t high = hex_digits.find(text[i]);
        size_t low = hex_digits.find(text[i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

std::string contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
