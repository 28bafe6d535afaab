#include "commands.h"

#include "bucket.h"
#include "configuration.h"
#include "counter.h"
#include "limit_command.h"
#include "output.h"
#include "rule_command.h"
#include "settings.h"
#include "test_command.h"
#include "usage.h"
#include "words.h"

// The first row that matches is taken.
// kept: scripts abbreviate, so few characters count; more do where two names share their first ones.
const command commands[command_count] = {
    {"rule", 2, do_rule_command, rule_cmd_usage},
    {"bucket", 2, do_rate_bucket_command, rate_bucket_cmd_usage},
    {"debug", 2, do_debug_command, debug_cmd_usage},
    {"configuration", 4, do_configuration_command, configuration_cmd_usage},
    {"qos", 2, do_global_state_command, global_state_cmd_usage},
    {"limit", 2, do_rate_limit_command, rate_limit_cmd_usage},
    {"counter", 4, do_counter_command, counter_cmd_usage},
    {"queue", 2, do_queue_command, nullptr},
    {"puredscpremark", 2, do_pure_dacpremark_command, nullptr},
    {"fine-classifi", 2, do_fine_classification_command, nullptr},
    {"refresh", 3, do_kxnat_refresh_command, refresh_cmd_usage},
    {"reset", 3, do_reset_command, reset_cmd_usage},
    {"test", 2, do_test_command, test_cmd_usage},
};

static int run_row(const command &row, int count, const char *const *words)
{
    if (count > 0)
        return row.run(count, words);
    if (row.usage != nullptr)
        row.usage();
    return -1;
}

// Returns what the command gave: 0, -1, or a positive result of the module's.
static int dispatch(const char *name, int count, const char *const *words)
{
    for (const command &row : commands)
        if (begins(name, row.name, row.compared))
            return run_row(row, count, words);
    print("Err: unknow argument: %s\n", name);
    return -1;
}

int run_command(int count, const char *const *words)
{
    if (count <= 0) {
        main_menu_dump();
        return -1;
    }
    if (equals(words[0], "?")) {
        main_menu_dump();
        return 0;
    }
    const int result = dispatch(words[0], count - 1, words + 1);
    if (result == -1)
        print_line("Fail! ");
    return result;
}

bool reaches_library(const char *word)
{
    for (const command &row : commands)
        if (begins(word, row.name, row.compared))
            return row.run == do_test_command;
    return false;
}
