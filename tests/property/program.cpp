#include "program.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <getopt.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

static constexpr size_t page = 4096;

// Finds the segment of a loaded module that can be written.
static int find_data(dl_phdr_info *info, size_t /*size*/, void *sought)
{
    auto *program = static_cast<Program *>(sought);
    const auto code = reinterpret_cast<ElfW(Addr)>(program->main);
    bool ours = false;
    const ElfW(Phdr) *data = nullptr;
    for (int i = 0; i < info->dlpi_phnum; i++) {
        const ElfW(Phdr) &segment = info->dlpi_phdr[i];
        const ElfW(Addr) start = info->dlpi_addr + segment.p_vaddr;
        ours = ours || (segment.p_type == PT_LOAD && code >= start && code < start + segment.p_memsz);
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) != 0)
            data = &segment;
    }
    if (!ours || data == nullptr)
        return 0;
    // The loader tells addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    program->set = reinterpret_cast<char *>(info->dlpi_addr + data->p_vaddr);
    program->values.assign(program->set, data->p_filesz);
    program->cleared = program->set + data->p_filesz;
    program->clearedSize = data->p_memsz - data->p_filesz;
    return 1;
}

Program load_program(const char *name)
{
    char own[4096] = "";
    const ssize_t length = readlink("/proc/self/exe", own, sizeof own - 1);
    std::string path(own, length < 0 ? 0 : static_cast<size_t>(length));
    path.replace(path.rfind('/') + 1, std::string::npos, name);
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    Program program = {};
    if (module != nullptr)
        program.main = reinterpret_cast<int (*)(int, char **)>(dlsym(module, "main"));
    if (program.main == nullptr || dl_iterate_phdr(find_data, &program) != 1) {
        fprintf(stderr, "%s cannot be loaded: %s\n", path.c_str(), dlerror());
        exit(2);
    }
    return program;
}

// Pages that were never used are not touched: there are many, of a file that is small.
static void start_anew(const Program &program)
{
    memcpy(program.set, program.values.data(), program.values.size());
    const size_t over = (page - reinterpret_cast<uintptr_t>(program.cleared) % page) % page;
    const size_t first = std::min(over, program.clearedSize);
    memset(program.cleared, 0, first);
    std::vector<unsigned char> used((program.clearedSize - first + page - 1) / page);
    mincore(program.cleared + first, program.clearedSize - first, used.data());
    for (size_t i = 0; i < used.size(); i++)
        if ((used[i] & 1) != 0)
            memset(program.cleared + first + i * page, 0, std::min(page, program.clearedSize - first - i * page));
}

// The standard streams

static ssize_t keep(void *text, const char *bytes, size_t size)
{
    static_cast<std::string *>(text)->append(bytes, size);
    return static_cast<ssize_t>(size);
}

static FILE *stream_into(std::string *text)
{
    cookie_io_functions_t functions = {};
    functions.write = keep;
    return fopencookie(text, "w", functions);
}

static const std::string *given;
static size_t taken;

size_t read_input(char *bytes, size_t size)
{
    const size_t some = std::min(size, given->size() - taken);
    // As read gives them. NOLINTNEXTLINE(bugprone-not-null-terminated-result)
    memcpy(bytes, given->data() + taken, some);
    taken += some;
    return some;
}

Ran run_program(const Program &program, const std::vector<std::string> &words, const std::string &input)
{
    static std::string output;
    static std::string errors;
    static FILE *const streams[] = {stream_into(&output), stream_into(&errors)};
    FILE *const own[] = {stdout, stderr};
    std::vector<char *> arguments = {const_cast<char *>("program")};
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    start_anew(program);
    given = &input;
    taken = 0;
    optind = 0; // getopt begins anew
    stdout = streams[0];
    stderr = streams[1];
    const int status = program.main(static_cast<int>(words.size()) + 1, arguments.data()) & 0xFF;
    fflush(stdout);
    fflush(stderr);
    stdout = own[0];
    stderr = own[1];
    Ran ran = {status, std::move(output), std::move(errors)};
    output.clear();
    errors.clear();
    return ran;
}
