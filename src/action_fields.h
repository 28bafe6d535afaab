// The actions: one row per action, walked by the parser, the detail display and the configuration dump.
#ifndef KXQOSCTL_ACTION_FIELDS_H
#define KXQOSCTL_ACTION_FIELDS_H

#include "kxqos.h"

struct action_field {
    char keyword[13]; // compared as a whole; empty: no command sets the action and no display shows it
    char label[23];   // in the detail display
    uint8_t offset;   // of the value in kxqos_action_t
    uint8_t size;     // of the value in bytes; 0: the action has none
    uint8_t minimum;
    uint8_t maximum;
};

// Row n is action KXQOS_ACTION_* n.
extern const action_field action_fields[KXQOS_ACTION_MAX];

// The action that the word names, or -1.
int find_action(const char *word);

// Whether a rule has the action and it can be shown.
bool shows_action(const kxqos_action_t *action, int number);

// The value of an action that has one.
uint32_t action_value(const kxqos_action_t *action, const action_field &row);
void set_action_value(kxqos_action_t *action, const action_field &row, uint32_t value);

#endif
