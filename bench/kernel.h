/* Requests of the kernel by a gateway of the benchmark: real ones, so that strace sees what it would see on a gateway,
 * and not the C library's, whose look-up would be counted. */
#ifndef KXQOS_BENCH_KERNEL_H
#define KXQOS_BENCH_KERNEL_H

#include <sys/syscall.h>

#define EXPORTED __attribute__((visibility("default")))

static long kernel(long number, long a, long b, long c, long d)
{
    long result;
    register long fourth __asm__("r10") = d;

    __asm__ volatile("syscall"
                     : "=a"(result)
                     : "a"(number), "D"(a), "S"(b), "d"(c), "r"(fourth)
                     : "rcx", "r11", "memory");
    return result;
}

#endif
