#include "configuration.h"

void start_configuration(configuration *configuration)
{
    for (int i = 0; i < switch_count; i++)
        configuration->switches[i] = gateway_switches[i].initial;
    configuration->limits[1].upDir = 1; // that of the other is 0, as all else
}

void keep_rule(configuration *configuration, int place, const kxqos_rule_t &rule)
{
    configuration->kept[place] = rule;
    configuration->rules[place] = &configuration->kept[place];
}
