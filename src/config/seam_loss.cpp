#include "seam_loss.h"

#include "equal.h"
#include "loss.h"
#include "match_fields.h"

#include <stdio.h>
#include <string.h>

static const char *first = nullptr;
static kxqos_rule_t earlier; // before one of its fields was overwritten by another
static bool overwritten = false;

void forget_losses()
{
    first = nullptr;
    overwritten = false;
}

void lose(const char *what)
{
    if (first == nullptr)
        first = what;
}

static void compare_overwritten(const kxqos_rule_t *rule)
{
    if (!overwritten)
        return;
    kxqos_rule_t without = *rule; // the fields that came after it
    memcpy(without.fieldSel, earlier.fieldSel, sizeof without.fieldSel);
    if (different_field(earlier, without) >= 0)
        lose("a field given before, in the same place,");
}

const char *what_was_lost(const kxqos_rule_t *rule)
{
    compare_overwritten(rule);
    if (first == nullptr)
        return nullptr;
    static char text[64];
    snprintf(text, sizeof text, "%s would be ignored", first);
    return text;
}

void begin_match_field(const kxqos_rule_t *rule, int field)
{
    for (uint32_t left = selected_fields(*rule); left != 0; left &= left - 1) {
        const int other = __builtin_ctz(left);
        if (other == field)
            lose("a field given before");
        else if (match_fields[other].offset == match_fields[field].offset) {
            compare_overwritten(rule);
            earlier = *rule;
            overwritten = true;
        }
    }
}
