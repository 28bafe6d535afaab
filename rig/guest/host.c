/* From inside the guest to the machine that runs the emulator, by semihosting.
 *
 *     host put FILE NAME    copies FILE to NAME in the emulator's working folder
 *     host exit STATUS      ends the emulator with that status, at once
 */
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { sys_open = 0x01, sys_close = 0x02, sys_write = 0x05, sys_exit_extended = 0x20 };
enum { open_for_write = 5, application_exit = 0x20026 };

static uint64_t call(uint64_t operation, const void *arguments)
{
    register uint64_t x0 __asm__("x0") = operation;
    register const void *x1 __asm__("x1") = arguments;
    __asm__ volatile("hlt #0xf000" : "+r"(x0) : "r"(x1) : "memory");
    return x0;
}

static int put(const char *file, const char *name)
{
    static char buffer[1 << 16];
    const int from = open(file, O_RDONLY);
    const uint64_t name_words[3] = {(uintptr_t)name, open_for_write, strlen(name)};
    const uint64_t to = from < 0 ? UINT64_MAX : call(sys_open, name_words);
    if (from < 0 || to == UINT64_MAX) {
        fprintf(stderr, "host: cannot copy %s to %s\n", file, name);
        return 1;
    }
    ssize_t length;
    uint64_t left = 0;
    while (left == 0 && (length = read(from, buffer, sizeof buffer)) > 0) {
        const uint64_t data[3] = {to, (uintptr_t)buffer, (uint64_t)length};
        left = call(sys_write, data);
    }
    call(sys_close, &to);
    return left != 0;
}

int main(int argc, char **argv)
{
    if (argc == 4 && strcmp(argv[1], "put") == 0) {
        return put(argv[2], argv[3]);
    }
    if (argc == 3 && strcmp(argv[1], "exit") == 0) {
        const uint64_t reason[2] = {application_exit, strtoul(argv[2], NULL, 10)};
        call(sys_exit_extended, reason);
    }
    fprintf(stderr, "usage: host put FILE NAME | host exit STATUS\n");
    return 2;
}
