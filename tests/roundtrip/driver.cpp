// Drives a gateway as somebody who types would. Reads lines from standard input:
//
//     roundtrip-driver type TOOL    each line a command, "kxqosctl" left out, its words separated by blanks and tabs;
//                                 prints its status, and throws away what it prints
//     roundtrip-driver send         each line "NR HEX", a request and its payload; prints its result and the payload
//                                 that came back
#include "kxqos.h"
#include "process.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> words_of(const std::string &line)
{
    std::vector<std::string> words;
    size_t start = line.find_first_not_of(" \t");
    while (start != std::string::npos) {
        size_t end = std::min(line.find_first_of(" \t", start), line.size());
        words.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(" \t", end);
    }
    return words;
}

void type(const std::string &tool)
{
    for (std::string line; std::getline(std::cin, line);) {
        Command command;
        command.words = words_of(line);
        command.words.insert(command.words.begin(), tool);
        command.standard_output = StandardOutput::discarded;
        command.captures_errors = false;
        std::printf("%d\n", run(command).status);
    }
}

void send()
{
    for (std::string line; std::getline(std::cin, line);) {
        std::vector<std::string> words = words_of(line);
        alignas(8) std::array<unsigned char, 1024> payload = {};
        size_t size = words.at(1).size() / 2;
        for (size_t i = 0; i < size; i++)
            payload.at(i) = static_cast<unsigned char>(std::stoul(words[1].substr(2 * i, 2), nullptr, 16));
        int device = open(KXQOS_DEVICE, O_RDWR);
        int result = ioctl(device, KXQOS_REQUEST(std::stoul(words[0])), payload.data());
        close(device);
        std::printf("%d ", result);
        for (size_t i = 0; i < size; i++)
            std::printf("%02x", static_cast<unsigned>(payload.at(i)));
        std::printf("\n");
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "type") == 0) {
        type(argv[2]);
    } else if (argc == 2 && std::strcmp(argv[1], "send") == 0) {
        send();
    } else {
        std::fputs("usage: roundtrip-driver type TOOL | roundtrip-driver send\n", stderr);
        return 2;
    }
    return 0;
}
