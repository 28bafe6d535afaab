#include "listing.h"

#include "change_show.h"
#include "device.h"
#include "output.h"
#include "record.h"

#include "../configuration.h"

static void print_counters()
{
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        kxqos_counter_info_s info;
        clear(&info);
        info.counterID = number;
        if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_COUNTER_GET), &info) == 0 && info.counterID != 0)
            print_counter_command(number, true);
    }
}

static void print_debug()
{
    uint32_t flags = 0;
    if (kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_DEBUG_GET), &flags) == 0)
        print_debug_commands(flags, flags);
}

void print_listing()
{
    print_line("!");
    print_counters();
    print_debug();
    show_running_parts();
}
