#include "configuration.h"

void start_configuration(configuration *configuration)
{
    for (int i = 0; i < switch_count; i++)
        configuration->switches[i] = gateway_switches[i].initial;
    for (int upDir = 0; upDir < 2; upDir++)
        configuration->limits[upDir].upDir = static_cast<uint8_t>(upDir);
}

void keep_rule(configuration *configuration, int place, const kxqos_rule_t &rule)
{
    configuration->kept[place] = rule;
    configuration->rules[place] = &configuration->kept[place];
}
