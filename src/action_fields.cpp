#include "action_fields.h"

#include "words.h"

// clang-format off
#define VALUE(member) offsetof(kxqos_action_t, member), sizeof(kxqos_action_t::member)

const action_field action_fields[KXQOS_ACTION_MAX] = {
    {"queue",        "Mapping to queue",       VALUE(queue),      0, 7},
    {"rate-bucket",  "Mapping to rate bucket", VALUE(rateBucket), 1, KXQOS_BUCKET_LAST},
    {"8021p",        "Change 802.1p priority", VALUE(newPri),     0, 7},
    {"dscp",         "Change DSCP",            VALUE(newDscp),    0, 255}, // kept: wider than a 6-bit DSCP
    {"counter",      "Mapping to counter",     VALUE(counterID),  1, KXQOS_COUNTER_LAST},
    {"dbgon",        "Enable skb debug flag",  0, 0, 0, 0},
    {"bypass-kxnat", "Bypass kxnat",           0, 0, 0, 0},
    {"",             "",                       0, 0, 0, 0}, // fine classification: the module's own
    {"",             "",                       0, 0, 0, 0}, // forced DSCP remarking: the module's own
    {"sw-fwd",       "Force SW forwarding",    0, 0, 0, 0},
};
// clang-format on

int find_action(const char *word)
{
    for (int number = 0; number < KXQOS_ACTION_MAX; number++)
        if (*word != '\0' && equals(word, action_fields[number].keyword))
            return number;
    return -1;
}

bool shows_action(const kxqos_action_t *action, int number)
{
    return (action->actionFlag >> number & 1) != 0 && action_fields[number].keyword[0] != '\0';
}

uint32_t action_value(const kxqos_action_t *action, const action_field &row)
{
    const void *value = reinterpret_cast<const char *>(action) + row.offset;
    return row.size == 1 ? *static_cast<const uint8_t *>(value) : *static_cast<const uint16_t *>(value);
}

void set_action_value(kxqos_action_t *action, const action_field &row, uint32_t value)
{
    void *place = reinterpret_cast<char *>(action) + row.offset;
    if (row.size == 1)
        *static_cast<uint8_t *>(place) = static_cast<uint8_t>(value);
    else
        *static_cast<uint16_t *>(place) = static_cast<uint16_t>(value);
}
