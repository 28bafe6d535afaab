// The verbs "diff" and "apply".
#include "verbs.h"

#include "change_show.h"
#include "differences.h"
#include "faithful.h"
#include "gateway.h"
#include "message.h"
#include "seam_device.h"
#include "seam_output.h"
#include "send.h"
#include "signals.h"

#include "output.h"

static file wanted_file;
static names wanted_names;
static configuration wanted;
static configuration present; // before anything was changed
static change_list changes;

// The file, then the gateway, which stays locked. Returns a status; *whole is whether all of the gateway was read.
static int read_both(const char *name, unsigned waitSeconds, bool *whole)
{
    if (!load_file(name, &wanted_file) || !read_configuration(wanted_file, &wanted, &wanted_names) ||
        !can_be_saved(wanted_file, wanted, wanted_names) || !open_gateway(waitSeconds))
        return status_refused;
    hold_signals();
    *whole = read_gateway(&present, &wanted_names, &wanted);
    if (switch_is_unsure())
        present.unread |= unsure_switch;
    // The flags are set as one word, of which the others stay.
    const uint32_t named = wanted_names.debugBits;
    wanted.debug = (wanted.debug & named) | (present.debug & ~named);
    list_changes(present, wanted, wanted_names, &changes);
    return status_done;
}

int diff(const char *name, const options &options)
{
    bool whole = false;
    const int status = read_both(name, options.waitSeconds, &whole);
    if (status != status_done)
        return status;
    unlock_gateway();
    release_signals();
    if (!whole) {
        say("what cannot be read is not compared");
        return status_failed;
    }
    print_to_standard_output();
    bool differs = false;
    for (int i = 0; i < changes.count; i++) {
        print_change(changes.changes[i], present, wanted, wanted_names, wanted_file);
        differs |= changes.changes[i].kind != change_kind::refresh;
    }
    return finish_standard_output() && !differs ? status_done : status_failed;
}

static void say_failed(const change &change, const char *failure)
{
    const place where = place_of(change, wanted_names);
    if (where.number != 0) {
        say_at(wanted_file, where, failure);
        return;
    }
    forget_printed();
    print_change_briefly(change, present, wanted);
    say_printed(wanted_file.name, failure);
}

struct attempt {
    sides between;
    int made; // changes that were begun
    bool failed;
};

// When a limit could not be removed, or a database not be written, what follows of that direction is left out: the
// switch would hold a limit that no database names, and no later apply would know of it.
static void send_all(bool keepGoing, attempt *attempt)
{
    int leftOut = no_direction + 1;
    while (attempt->made < changes.count) {
        if (signal_came()) {
            say("stopped by a signal");
            attempt->failed = true;
            return;
        }
        const change &change = changes.changes[attempt->made++];
        if (change.upDir == leftOut)
            continue;
        const char *failure = send_change(change, attempt->between);
        if (failure == nullptr)
            continue;
        say_failed(change, failure);
        attempt->failed = true;
        if (!keepGoing)
            return;
        if (change.kind == change_kind::limit_remove || change.kind == change_kind::limits_write)
            leftOut = change.upDir;
    }
}

// Whether the gateway holds what it should, as far as can be read. Says what it holds instead.
static bool holds(const configuration &target)
{
    static configuration seen;
    const bool whole = read_gateway(&seen, &wanted_names, &target);
    return !say_differences(seen, target, wanted_names) && whole;
}

// Installing a limit that is there already, or removing one that is not, does no harm. What is in the switch cannot be
// read, so whatever fails there counts, even where the call that is undone failed itself: it may have been carried out
// all the same. All else is seen by reading.
//
// When a database that was written cannot be written back, its limits are not installed again, as above.
static bool undo_all(const attempt &attempt)
{
    bool undone = true;
    int leftOut = no_direction + 1;
    for (int i = attempt.made - 1; i >= 0; i--) {
        const change &change = changes.changes[i];
        if (change.upDir == leftOut)
            continue;
        const char *failure = undo_change(change, attempt.between);
        const bool stuck = change.kind == change_kind::limits_write && i + 1 < attempt.made;
        if (failure != nullptr &&
            (stuck || change.kind == change_kind::limit_remove || change.kind == change_kind::limit_install)) {
            say_failed(change, failure);
            undone = false;
            if (stuck)
                leftOut = change.upDir;
        }
    }
    return undone;
}

static int put_back(const attempt &attempt)
{
    if (attempt.made == 0) {
        say("nothing was changed");
        return status_failed;
    }
    const bool undone = undo_all(attempt);
    if (holds(present) && undone) {
        say("put back: the gateway holds what it held before");
        return status_failed;
    }
    say("could not be put back: the gateway holds neither what it held before nor what %s asks for", wanted_file.name);
    return status_stranded;
}

static int keep_going(const attempt &attempt)
{
    const bool held = holds(wanted);
    return held && !attempt.failed ? status_done : status_failed;
}

static int confirm(const attempt &attempt, unsigned seconds)
{
    say("press Enter within %u seconds to keep this", seconds);
    switch (wait_for_enter(seconds)) {
    case answer::enter:
        return status_done;
    case answer::refusal:
        say("not Enter alone");
        break;
    case answer::end_of_input:
        say("standard input has ended");
        break;
    case answer::signal:
        say("stopped by a signal");
        break;
    case answer::too_late:
        say("no answer");
        break;
    }
    return put_back(attempt);
}

static int change_gateway(bool whole, bool keepGoing, const options &options)
{
    attempt attempt = {{&present, &wanted, wanted_names.refreshWord}, 0, !whole};
    send_all(keepGoing, &attempt);
    if (keepGoing)
        return attempt.made == 0 && !attempt.failed ? status_done : keep_going(attempt);
    if (attempt.failed)
        return put_back(attempt);
    if (attempt.made == 0)
        return status_done;
    if (!holds(wanted))
        return put_back(attempt);
    return (options.given & option_confirm) != 0 ? confirm(attempt, options.confirmSeconds) : status_done;
}

int apply(const char *name, const options &options)
{
    if ((options.given & option_confirm) != 0 && name[0] == '-' && name[1] == '\0') {
        say("with --confirm standard input is for the answer, so FILE cannot be -");
        return status_refused;
    }
    bool whole = false;
    const int status = read_both(name, options.waitSeconds, &whole);
    if (status != status_done)
        return status;
    const bool keepGoing = (options.given & option_keep_going) != 0;
    if (!whole && !keepGoing) {
        say("nothing was changed");
        return status_failed;
    }
    const int result = change_gateway(whole, keepGoing, options);
    // Nor is it known better when less than all was done and undone.
    if (result == status_done || (result == status_failed && !keepGoing && (present.unread & unsure_switch) == 0))
        mark_switch(false);
    // The library may have printed; that this was lost is the lesser news.
    return finish_standard_output() || result != status_done ? result : status_failed;
}
