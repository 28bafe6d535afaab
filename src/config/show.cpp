// The verb "show".
#include "verbs.h"

#include "change_show.h"
#include "commands.h"
#include "configuration.h"
#include "device.h"
#include "json.h"
#include "message.h"
#include "record.h"
#include "seam_device.h"
#include "seam_output.h"

// One that cannot be read is not shown, and the failure is told at the end.
static void show_counters()
{
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        kxqos_counter_info_s info;
        clear(&info);
        info.counterID = number;
        if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_COUNTER_GET), &info) == 0 && info.counterID != 0)
            print_counter_command(number, true);
    }
}

static void show_debug()
{
    uint32_t flags = 0;
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_GET), &flags) == 0)
        print_debug_commands(flags, flags);
}

// The tool's own display, which takes a request that fails for an end and says nothing of it.
static int show_text()
{
    static const char *const words[] = {"configuration", "show"};
    use_gateway();
    print_to_standard_output();
    run_command(2, words);
    show_counters();
    show_debug();
    const bool written = finish_standard_output();
    const char *failure = gateway_failure();
    if (failure != nullptr)
        say("this is not all that the gateway holds: %s", failure);
    return written && failure == nullptr ? status_done : status_failed;
}

int show(const char * /*name*/, const options &options)
{
    if (!open_unlocked_gateway())
        return status_refused;
    return (options.given & option_json) != 0 ? show_json() : show_text();
}
