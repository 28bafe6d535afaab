// What the program says to people: lines on standard error, each begun with the program's name.
#ifndef KXQOS_CONFIG_MESSAGE_H
#define KXQOS_CONFIG_MESSAGE_H

// The exit statuses.
enum status : int {
    status_done = 0,
    status_failed = 1,   // or differences were found
    status_refused = 2,  // nothing was begun
    status_stranded = 3, // something failed and could not be put back
};

// One line; the newline is added.
[[gnu::format(printf, 1, 2)]] void say(const char *format, ...);

#endif
