#include "loss.h"

void lose(const char * /*what*/) {}

void begin_match_field(const kxqos_rule_t * /*rule*/, int /*field*/) {}
