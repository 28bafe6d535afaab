// The verb "show".
#include "verbs.h"

#include "json.h"
#include "listing.h"
#include "message.h"
#include "seam_device.h"
#include "seam_output.h"

// The tool's own display takes a request that fails for an end and says nothing of it.
static int show_text()
{
    use_gateway();
    print_to_standard_output();
    print_listing();
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
