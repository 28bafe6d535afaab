// Text, as the tests handle it.
#ifndef SUPPORT_TEXT_H
#define SUPPORT_TEXT_H

#include <optional>
#include <string>
#include <vector>

// The text with each occurrence of one string replaced by another.
std::string replaced(std::string text, const std::string &from, const std::string &to);

// The parts between the separators; blanks in a row are one. A separator at the end has no part after it.
std::vector<std::string> split(const std::string &text, char separator);

// Two lower-case digits for each byte.
std::string to_hex(const std::string &bytes);
std::optional<std::string> from_hex(const std::string &text);

// All of a file; nothing if it cannot be read.
std::string contents(const std::string &path);

#endif
