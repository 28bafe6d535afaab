#include "process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void give_up(int error, const std::string &what)
{
    throw std::system_error(error, std::generic_category(), what);
}

// Closed when it goes out of scope. Never passed on but where it is asked for.
struct Descriptor {
    int number = -1;

    Descriptor() = default;
    ~Descriptor()
    {
        reset();
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    void reset()
    {
        if (number >= 0)
            close(number);
        number = -1;
    }
};

struct Pipe {
    Descriptor reading;
    Descriptor writing;

    void open()
    {
        std::array<int, 2> ends = {};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            give_up(errno, "pipe");
        take(ends);
    }

    // One that tells where each write ended.
    void open_in_packets()
    {
        std::array<int, 2> ends = {};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
            give_up(errno, "socketpair");
        take(ends);
    }

  private:
    void take(const std::array<int, 2> &ends)
    {
        reading.number = ends[0];
        writing.number = ends[1];
    }
};

// With the standard descriptors taken, no pipe gets their numbers.
void take_standard_descriptors()
{
    int spare = 0;
    while (spare >= 0 && spare <= 2)
        spare = open("/dev/null", O_RDWR | O_CLOEXEC);
    close(spare);
}

bool is_broken(StandardOutput kind)
{
    return kind == StandardOutput::broken || kind == StandardOutput::broken_and_deadly;
}

// Which descriptors the process has.
class Files {
  public:
    Files(const Command &command, const Pipe &output, const Pipe &errors)
    {
        posix_spawn_file_actions_init(&actions);
        if (command.standard_input.empty())
            posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
        else
            posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, command.standard_input.c_str(), O_RDONLY, 0);
        switch (command.standard_output) {
        case StandardOutput::closed:
            posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
            break;
        case StandardOutput::full:
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/full", O_WRONLY, 0);
            break;
        case StandardOutput::discarded:
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
            break;
        default:
            posix_spawn_file_actions_adddup2(&actions, output.writing.number, STDOUT_FILENO);
            break;
        }
        if (command.captures_errors)
            posix_spawn_file_actions_adddup2(&actions, errors.writing.number, STDERR_FILENO);
    }
    ~Files()
    {
        posix_spawn_file_actions_destroy(&actions);
    }
    Files(const Files &) = delete;
    Files &operator=(const Files &) = delete;

    posix_spawn_file_actions_t actions;
};

bool has_limit(const Command &command)
{
    return command.seconds != 0 || command.output_size != 0;
}

// What the process does with signals, and its group.
class Attributes {
  public:
    explicit Attributes(const Command &command)
    {
        sigset_t defaults;
        sigemptyset(&defaults);
        if (command.standard_output != StandardOutput::broken)
            sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(
            &attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | (has_limit(command) ? POSIX_SPAWN_SETPGROUP : 0)));
    }
    ~Attributes()
    {
        posix_spawnattr_destroy(&attributes);
    }
    Attributes(const Attributes &) = delete;
    Attributes &operator=(const Attributes &) = delete;

    posix_spawnattr_t attributes;
};

// A started process inherits that a signal is ignored, and can only be told to undo it.
class IgnoredSigpipe {
  public:
    IgnoredSigpipe() : before(std::signal(SIGPIPE, SIG_IGN)) {}
    ~IgnoredSigpipe()
    {
        std::signal(SIGPIPE, before);
    }
    IgnoredSigpipe(const IgnoredSigpipe &) = delete;
    IgnoredSigpipe &operator=(const IgnoredSigpipe &) = delete;

  private:
    void (*before)(int);
};

bool is_set_in(const std::vector<std::string> &environment, std::string_view variable)
{
    const std::string_view name = variable.substr(0, variable.find('=') + 1);
    return std::any_of(environment.begin(), environment.end(),
                       [name](const std::string &own) { return own.starts_with(name); });
}

std::vector<char *> variables_of(const Command &command)
{
    std::vector<char *> variables = pointers(command.environment);
    variables.pop_back();
    for (char **variable = environ; *variable != nullptr; variable++)
        if (!is_set_in(command.environment, *variable))
            variables.push_back(*variable);
    variables.push_back(nullptr);
    return variables;
}

pid_t start(const Command &command, const Pipe &output, const Pipe &errors)
{
    std::vector<char *> argv = pointers(command.words);
    std::vector<char *> variables = variables_of(command);
    const Files files(command, output, errors);
    const Attributes attributes(command);
    const IgnoredSigpipe ignored;
    pid_t pid = 0;
    int error = posix_spawnp(&pid, argv[0], &files.actions, &attributes.attributes, argv.data(), variables.data());
    if (error != 0)
        give_up(error, command.words.at(0));
    return pid;
}

// A started process until it has ended.
class Process {
  public:
    Process(const Command &started, pid_t number) : command(started), pid(number)
    {
        ended.number = static_cast<int>(syscall(SYS_pidfd_open, pid, 0)); // C++ can use glibc's own from 2.37 on
        if (ended.number < 0)
            give_up(errno, "pidfd_open");
        if (command.seconds != 0)
            limit = Clock::now() + std::chrono::seconds(command.seconds);
        if (command.terminate_after >= 0)
            termination = Clock::now() + std::chrono::microseconds(command.terminate_after);
    }

    // Reads from both pipes until nobody can write to them any more and the process has ended.
    void watch(const Pipe &output, const Pipe &errors)
    {
        std::array<pollfd, 3> polled = {
            {{output.reading.number, POLLIN, 0}, {errors.reading.number, POLLIN, 0}, {ended.number, POLLIN, 0}}};
        while (polled[0].fd >= 0 || polled[1].fd >= 0 || polled[2].fd >= 0) {
            const auto rest = until_next_signal();
            const int ready = ppoll(polled.data(), polled.size(), rest ? &*rest : nullptr, nullptr);
            send_due_signals();
            if (ready <= 0)
                continue;
            if (polled[0].revents != 0)
                read_some(polled[0].fd, outcome.output);
            if (polled[1].revents != 0)
                read_some(polled[1].fd, outcome.errors);
            if (polled[2].revents != 0)
                polled[2].fd = -1;
        }
    }

    Outcome wait()
    {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0) {
            if (errno != EINTR)
                give_up(errno, "waitpid");
        }
        outcome.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        return std::move(outcome);
    }

  private:
    const Command &command;
    pid_t pid;
    Descriptor ended; // can be read when it has
    Outcome outcome;
    std::optional<Clock::time_point> limit;
    std::optional<Clock::time_point> termination;

    std::optional<timespec> until_next_signal() const
    {
        if (!limit && !termination)
            return std::nullopt;
        const auto next = !termination ? *limit : !limit ? *termination : std::min(*limit, *termination);
        const auto rest = std::max<std::chrono::nanoseconds>(next - Clock::now(), std::chrono::nanoseconds(0));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
        return timespec{seconds.count(), (rest - seconds).count()};
    }

    void send_due_signals()
    {
        const auto now = Clock::now();
        if (termination && *termination <= now) {
            termination.reset();
            kill(pid, SIGTERM);
        }
        if (limit && *limit <= now) {
            limit.reset();
            kill_all();
        }
    }

    void kill_all()
    {
        outcome.hung = true;
        kill(-pid, SIGKILL);
    }

    // The descriptor becomes -1 at the end.
    void read_some(int &descriptor, std::string &text)
    {
        std::array<char, 65536> buffer;
        const ssize_t size = read(descriptor, buffer.data(), buffer.size());
        if (size > 0 && &text == &outcome.output)
            outcome.writes++;
        if (size == 0)
            descriptor = -1;
        else if (size > 0 && (command.output_size == 0 || text.size() < command.output_size))
            text.append(buffer.data(), static_cast<size_t>(size));
        else if (size > 0)
            kill_all();
    }
};

} // namespace

std::vector<char *> pointers(const std::vector<std::string> &words)
{
    std::vector<char *> list;
    list.reserve(words.size() + 1);
    for (const std::string &word : words)
        list.push_back(const_cast<char *>(word.c_str()));
    list.push_back(nullptr);
    return list;
}

Outcome run(const Command &command)
{
    take_standard_descriptors();
    Pipe output;
    Pipe errors;
    if (command.standard_output == StandardOutput::captured || is_broken(command.standard_output))
        output.open();
    if (command.standard_output == StandardOutput::counted)
        output.open_in_packets();
    if (is_broken(command.standard_output))
        output.reading.reset();
    if (command.captures_errors)
        errors.open();
    Process process(command, start(command, output, errors));
    output.writing.reset();
    errors.writing.reset();
    process.watch(output, errors);
    return process.wait();
}
