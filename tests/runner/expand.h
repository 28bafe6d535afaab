// What stands for other text in a transcript: loops, quotes, and the marks of characters that a file cannot show.
#ifndef RUNNER_EXPAND_H
#define RUNNER_EXPAND_H

#include "transcript.h"

// Each loop as the lines that it stands for. Throws FormatError.
std::vector<Line> without_loops(const std::vector<Line> &lines);

// The words of "$ kxqosctl WORDS" after the tool's name, as a shell would make them. Throws FormatError.
Words command_words(const Line &line);

std::string without_marks(std::string text);
std::string with_marks(const std::string &line);

#endif
