// The verb "save".
#include "verbs.h"

#include "faithful.h"
#include "gateway.h"
#include "listing.h"
#include "message.h"
#include "output.h"
#include "replacement.h"
#include "seam_device.h"
#include "seam_output.h"
#include "version.h"
#include "words.h"

static configuration held;

static void print_configuration()
{
    use_memory(&held);
    print_to_standard_output();
    print_line("# kxqos-config " KXQOS_VERSION);
    print_line("# Whether the forwarding table is refreshed (\"refresh\") cannot be read, so it is not in here.");
    print_listing();
}

static int save_to_standard_output()
{
    print_configuration();
    return finish_standard_output() ? status_done : status_failed;
}

static int save_to_file(const char *name)
{
    static replacement replacement;
    if (!begin_replacement(name, &replacement))
        return status_failed;
    print_configuration();
    return finish_replacement(&replacement, finish_output() == 0) ? status_done : status_failed;
}

int save(const char *name, const options &options)
{
    if (!open_gateway(options.waitSeconds))
        return status_refused;
    const bool whole = read_gateway(&held, nullptr, nullptr);
    const bool lossy = (options.given & option_lossy) != 0;
    if (!whole || (!leave_out_unfaithful(&held) && !lossy)) {
        say("nothing is saved");
        return status_failed;
    }
    if (!equals(name, "-"))
        return save_to_file(name); // locked, for one at a time may make it
    unlock_gateway();
    return save_to_standard_output();
}
