#include "settings.h"

#include "device.h"
#include "number.h"
#include "output.h"
#include "profiles.h"
#include "record.h"
#include "usage.h"
#include "words.h"

const debug_category debug_categories[debug_category_count] = {
    {"in", KXQOS_DEBUG_INFO},   {"wa", KXQOS_DEBUG_WARNING},       {"er", KXQOS_DEBUG_ERROR},
    {"pa", KXQOS_DEBUG_PACKET}, {"pr", KXQOS_DEBUG_PRE_MATCH},     {"ma", KXQOS_DEBUG_MATCH},
    {"ac", KXQOS_DEBUG_ACTION}, {"fi", KXQOS_DEBUG_FINE_CLASSIFY}, {"ra", KXQOS_DEBUG_RATE_LIMIT},
    {"al", KXQOS_DEBUG_ALL},
};

static u32 find_debug_bits(const char *word)
{
    for (const debug_category &category : debug_categories)
        if (begins(word, category.prefix, 2))
            return category.bits;
    return 0;
}

static int unknown_debug_word(const char *word)
{
    print("Err: Unknow argument: %s\n", word);
    return -1;
}

static int change_debug_flags(u32 bits, const char *state)
{
    u32 flags = 0;
    const int result = kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_GET), &flags);
    if (result != 0)
        return result;
    if (equals(state, "on"))
        flags |= bits;
    else if (equals(state, "off"))
        flags &= ~bits;
    else
        return unknown_debug_word(state);
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_SET), &flags);
}

int do_debug_command(int count, const char *const *words)
{
    if (equals(words[0], "?")) {
        debug_cmd_usage();
        return 0;
    }
    if (begins(words[0], "show", 2)) {
        u32 flags = 0;
        return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_SHOW), &flags);
    }
    const u32 bits = find_debug_bits(words[0]);
    if (bits == 0)
        return unknown_debug_word(words[0]);
    if (count < 2) {
        print_line("Err: Incomplete command! ");
        return -1;
    }
    return change_debug_flags(bits, words[1]);
}

// Sends the state for the only word, "enable" or "disable" (two characters count). Returns false for any other words.
static bool set_switch(int count, const char *const *words, kxqos_request nr, u32 enable, u32 disable, int *result)
{
    if (count != 1)
        return false;
    u32 state = enable;
    if (begins(words[0], "disable", 2))
        state = disable;
    else if (!begins(words[0], "enable", 2))
        return false;
    *result = kxqosctl_ioctl(KXQOS_REQUEST(nr), &state);
    return true;
}

int do_global_state_command(int count, const char *const *words)
{
    int result = -1;
    if (!set_switch(count, words, KXQOS_STATE_SET, 1, 0, &result))
        global_state_cmd_usage();
    return result;
}

int do_pure_dacpremark_command(int count, const char *const *words)
{
    int result = -1;
    set_switch(count, words, KXQOS_PURE_DSCP_SET, 1, 0, &result);
    return result;
}

int do_fine_classification_command(int count, const char *const *words)
{
    int result = -1;
    set_switch(count, words, KXQOS_FINE_CLASSIFY_SET, 1, 0, &result);
    return result;
}

int do_kxnat_refresh_command(int count, const char *const *words)
{
    int result = -1;
    // inverted: the module's 1 suppresses the refresh
    set_switch(count, words, KXQOS_REFRESH_SET, 0, 1, &result);
    return result;
}

int do_queue_command(int /*count*/, const char *const *words)
{
    if (!begins(words[0], "show", 2))
        return -1;
    kxqos_queue_map_t map;
    clear(&map);
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_QUEUE_MAP_GET), &map) != 0)
        return 0; // kept: scripts rely on status 0 here
    const uint8_t *prio = map.prio;
    print("  prio  : %-4d %-4d %-4d %-4d %-4d %-4d %-4d %-4d \n", 0, 1, 2, 3, 4, 5, 6, 7);
    print("  queue : %-4d %-4d %-4d %-4d %-4d %-4d %-4d %-4d \n\n", prio[0], prio[1], prio[2], prio[3], prio[4],
          prio[5], prio[6], prio[7]);
    return 0;
}

static int reset_usage_and_fail()
{
    reset_cmd_usage();
    return -1;
}

int do_reset_command(int count, const char *const *words)
{
    if (count != 2 || !begins(words[0], "profile", 3))
        return reset_usage_and_fail();
    kxqos_rule_t rule;
    clear(&rule);
    const profile_word said = read_profile(words[1], &rule.table_id);
    if (said == profile_word::none)
        return reset_usage_and_fail();
    if (said == profile_word::bad_number)
        return -1;
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_RESET), &rule);
}
