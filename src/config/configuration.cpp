#include "configuration.h"

void start_configuration(configuration *configuration)
{
    for (int i = 0; i < switch_count; i++)
        configuration->switches[i] = gateway_switches[i].initial;
    for (int upDir = 0; upDir < 2; upDir++)
        configuration->limits[upDir].upDir = static_cast<uint8_t>(upDir);
}
