// Prints what the tables of the tool hold, one fact on a line, for all that has to agree with them.

#include "action_fields.h"
#include "commands.h"
#include "match_fields.h"
#include "profiles.h"
#include "settings.h"

#include <stdio.h>
#include <string.h>

// The shortest word that is taken for a keyword of which so many characters count.
static void print_least(const char *keyword, int compared)
{
    if (static_cast<size_t>(compared) > strlen(keyword))
        printf(" whole");
    else
        printf(" %.*s", compared, keyword);
}

static void print_value(const match_field &row)
{
    switch (row.kind) {
    case match_kind::mac:
        printf(" mac\n");
        break;
    case match_kind::ipv4:
        printf(" ipv4\n");
        break;
    case match_kind::ipv6:
        printf(" ipv6\n");
        break;
    case match_kind::port_map:
        printf(" bitmap\n");
        break;
    case match_kind::device:
        printf(" ifname\n");
        break;
    case match_kind::decimal:
    case match_kind::hexadecimal:
    case match_kind::protocol_bits:
        printf(" 0~%u\n", row.maximum);
        break;
    }
}

int main()
{
    for (const command &row : commands) {
        printf("command %s", row.name);
        print_least(row.name, row.compared);
        puts("");
    }
    for (const match_field &row : match_fields) {
        printf("match %s", row.keyword);
        print_least(row.keyword, row.compared);
        print_value(row);
    }
    for (const action_field &row : action_fields) {
        if (row.keyword[0] == '\0')
            continue;
        if (row.size != 0)
            printf("action %s %d~%d\n", row.keyword, row.minimum, row.maximum);
        else
            printf("action %s -\n", row.keyword);
    }
    for (int profile = 0; profile < KXQOS_PROFILE_MAX; profile++)
        printf("profile %s %d %d\n", qosProfileName[profile].name, profile, qosProfileName[profile].highestRuleID);
    for (const debug_category &category : debug_categories)
        printf("category %s\n", category.prefix);
    return 0;
}
