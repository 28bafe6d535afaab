// Whether a command has a part that the tool does not use, told from its words alone.
#ifndef PROPERTY_LOSSES_H
#define PROPERTY_LOSSES_H

#include "kxqos.h"

#include <functional>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

// The rule that a field makes alone, by its keyword and value.
using Alone = std::function<kxqos_rule_t(const std::string &keyword, const std::string &value)>;

// Of a command that the tool takes and that configures.
bool loses_part(const Lines &words, const Alone &alone);

#endif
