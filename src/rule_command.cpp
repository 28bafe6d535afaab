#include "rule_command.h"

#include "device.h"
#include "number.h"
#include "output.h"
#include "profiles.h"
#include "record.h"
#include "rule_parse.h"
#include "rule_show.h"
#include "usage.h"
#include "words.h"

static int incomplete_command()
{
    print_line("Err: Incomplete command! ");
    rule_cmd_usage();
    return -1;
}

static int invalid_command()
{
    print_line("Err: Invalid command! ");
    return -1;
}

static int check_rule_id(const kxqos_rule_t *rule)
{
    const qos_profile &profile = qosProfileName[rule->table_id];
    if (rule->rule_id <= profile.highestRuleID)
        return 0;
    print("Err: Maximum %d rules of %s profile! \n", profile.highestRuleID, profile.name);
    return -1;
}

static int select_profile(const char *word, kxqos_rule_t *rule)
{
    const profile_word said = read_profile(word, &rule->table_id);
    if (said == profile_word::name)
        return check_rule_id(rule);
    // kept: a profile given by number is not held to its rule limit
    return said == profile_word::number ? 0 : -1;
}

static int add_matching_rule(int count, const char *const *words, kxqos_rule_t *rule)
{
    if (count < 4) // a pair, "action" and one more
        return incomplete_command();
    if (parse_rule_command(count, words, rule) != 0)
        return -1;
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_ADD), rule);
}

static int add_rule(int count, const char *const *words, kxqos_rule_t *rule)
{
    if (count < 1)
        return incomplete_command();
    if (parse_action_command(count, words, rule) != 0)
        return -1;
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_ADD), rule);
}

static int show_rule(kxqos_rule_t *rule)
{
    const int result = kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_GET), rule);
    if (result >= 0)
        show_rule_entry(rule);
    return result;
}

// The sub-command and, after it, count words of its own.
static int do_sub_command(const char *name, int count, const char *const *words, kxqos_rule_t *rule)
{
    if (begins(name, "match", 2))
        return add_matching_rule(count, words, rule);
    if (begins(name, "action", 2))
        return add_rule(count, words, rule);
    if (begins(name, "delete", 2))
        return count > 0 ? invalid_command() : kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_DELETE), rule);
    if (begins(name, "show", 2))
        return count > 0 ? invalid_command() : show_rule(rule);
    print_line("Err: Unknown command! ");
    return 0; // kept: scripts rely on status 0 here
}

int do_rule_command(int count, const char *const *words)
{
    if (count < 2)
        return incomplete_command();
    kxqos_rule_t rule;
    clear(&rule);
    // kept: wider than any profile's own limit, which is checked below with a message of its own
    if (parse_u16(words[0], &rule.rule_id, 1, 4096) != 0)
        return -1;
    int sub = 1;
    if (begins(words[1], "profile", 3)) {
        sub = 3;
        if (select_profile(count > 2 ? words[2] : nullptr, &rule) != 0 || count <= sub)
            return -1;
    } else if (check_rule_id(&rule) != 0) {
        return -1;
    }
    return do_sub_command(words[sub], count - (sub + 1), words + sub + 1, &rule);
}
