// A program that is run over and over within this process, each time as if it had just been started.
#ifndef PROPERTY_PROGRAM_H
#define PROPERTY_PROGRAM_H

#include <string>
#include <vector>

struct Program {
    int (*main)(int argc, char **argv);
    // Its data: what a start sets, and what a start clears.
    char *set;
    std::string values;
    char *cleared;
    size_t clearedSize;
};

// A module that stands beside this program's own file. Ends the process when it cannot be loaded.
Program load_program(const char *name);

struct Ran {
    int status;
    std::string output;
    std::string errors;
};

// Runs it with these words after its name; input is what it reads from standard input.
Ran run_program(const Program &program, const std::vector<std::string> &words, const std::string &input = "");

// For the file that stands in for the system: the next bytes of the standard input.
size_t read_input(char *bytes, size_t size);

#endif
