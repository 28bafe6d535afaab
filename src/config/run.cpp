// The verb "run".
#include "verbs.h"

#include "commands.h"
#include "file.h"
#include "message.h"
#include "seam_device.h"
#include "seam_output.h"
#include "words.h"

// Carries out one line as kxqosctl would. Returns null, or why it failed; some failures are told by a message alone.
static const char *run_line(const line &line)
{
    forget_printed();
    gateway_failure();
    if (line.count == 0)
        return "the line has too many words";
    if (line.count == 1 && equals(line.words[0], "!"))
        return nullptr;
    const int result = run_command(line.count, line.words);
    if (result != -1 && !printed_trouble())
        return nullptr;
    if (const char *reason = printed_reason())
        return reason;
    const char *failure = gateway_failure();
    return failure != nullptr ? failure : "a word is missing, unknown, too long or out of its range";
}

int run(const char *name, const options &options)
{
    static line line;
    file file;
    if (!load_file(name, &file) || !open_gateway(options.waitSeconds))
        return status_refused;
    use_gateway();
    print_to_standard_output();
    position position = {};
    int status = status_done;
    while (next_line(file, &position, &line)) {
        const char *failure = run_line(line);
        if (!finish_standard_output())
            return status_failed;
        if (failure == nullptr)
            continue;
        say_at(file, line.where, failure);
        status = status_failed;
        if ((options.given & option_keep_going) == 0)
            break;
    }
    return status;
}
