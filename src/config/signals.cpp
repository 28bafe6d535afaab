#include "signals.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <time.h>
#include <unistd.h>

static sigset_t held_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGHUP);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

void hold_signals()
{
    const sigset_t set = held_signals();
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

void release_signals()
{
    const sigset_t set = held_signals();
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

bool signal_came()
{
    sigset_t waiting;
    sigpending(&waiting);
    return sigismember(&waiting, SIGHUP) == 1 || sigismember(&waiting, SIGINT) == 1 ||
           sigismember(&waiting, SIGTERM) == 1;
}

static long long milliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

// Reads one character of the answer. Returns true when the answer is there.
static bool read_answer(bool *other, answer *given)
{
    char c = '\0';
    const ssize_t got = read(STDIN_FILENO, &c, 1);
    if (got < 0 && (errno == EINTR || errno == EAGAIN))
        return false;
    if (got <= 0) {
        *given = answer::end_of_input;
        return true;
    }
    *given = *other ? answer::refusal : answer::enter;
    *other |= c != '\n';
    return c == '\n';
}

static answer wait_with(int signals, unsigned seconds)
{
    const long long end = milliseconds() + seconds * 1000LL;
    bool other = false;
    for (;;) {
        pollfd watched[] = {{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        const long long left = end - milliseconds();
        if (left <= 0)
            return answer::too_late;
        if (poll(watched, 2, static_cast<int>(left)) <= 0)
            continue;
        if (watched[0].revents != 0)
            return answer::signal;
        answer given = answer::refusal;
        if (read_answer(&other, &given))
            return given;
    }
}

answer wait_for_enter(unsigned seconds)
{
    const sigset_t set = held_signals();
    const int signals = signalfd(-1, &set, SFD_CLOEXEC);
    if (signals < 0)
        return answer::signal; // without it a signal would not be seen: the safe side
    const answer given = wait_with(signals, seconds);
    close(signals);
    return given;
}
