// A process started and waited for. Uses nothing but the system itself, so that it can be linked statically into a
// program for a guest that has little else.
#ifndef SUPPORT_PROCESS_H
#define SUPPORT_PROCESS_H

#include <cstddef>
#include <string>
#include <vector>

// What standard output is. A broken one is a pipe that nobody reads; SIGPIPE is ignored in the process then, unless it
// is to be deadly. Everywhere else SIGPIPE has its default action. Where writes are counted, it is a socket that tells
// one from the next.
enum class StandardOutput { captured, counted, discarded, closed, full, broken, broken_and_deadly };

struct Command {
    std::vector<std::string> words;       // the program, looked for in PATH unless it has a slash, and its arguments
    std::vector<std::string> environment; // "NAME=VALUE", beside the variables of this process or in their place
    std::string standard_input = "/dev/null"; // a file; closed if empty
    StandardOutput standard_output = StandardOutput::captured;
    bool captures_errors = true; // standard error; otherwise it is this process's own

    // Limits; 0 is none. Beyond one of them the process is killed, and with it whatever it started: under a limit it
    // has a process group of its own.
    unsigned seconds = 0;
    size_t output_size = 0; // bytes of standard output, and of standard error

    int terminate_after = -1; // microseconds until SIGTERM is sent, to the process alone; never if negative
};

struct Outcome {
    std::string output; // of standard output, if captured or counted
    std::string errors; // of standard error, if captured
    int status = 0;     // 128 + n for signal n
    int writes = 0;     // to standard output, if counted
    bool hung = false;  // a limit was exceeded; what was written until then is there
};

// Returns when the process has ended and nobody has what is captured open for writing any more: processes that it left
// after with its standard output are waited for too. Nothing that is opened here stays open, and only descriptors 0, 1
// and 2 are given to the process beside those that this process has without FD_CLOEXEC. Throws std::system_error when
// it cannot be started.
Outcome run(const Command &command);

// For a function that wants words as C has them. They last as long as the words do.
std::vector<char *> pointers(const std::vector<std::string> &words);

#endif
