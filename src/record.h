// What is done with a record before it is sent to the kernel module or to the library, or after it was read.
#ifndef KXQOSCTL_RECORD_H
#define KXQOSCTL_RECORD_H

#include "kxqos.h"

#include <string.h>

// Zeroes every byte. An initialiser "= {}" is not enough: it leaves the padding, and of an IPv4 address the twelve
// bytes after it, to the compiler, and the whole record is sent.
template <typename Record> [[gnu::always_inline]] inline void clear(Record *record)
{
    // Compilers that save space make a slow loop of a whole one, and a walk clears a small record hundreds of times.
    constexpr size_t piece = 8;
    if constexpr (sizeof *record % piece == 0 && sizeof *record <= 4 * piece) {
#pragma GCC unroll 4
        for (size_t i = 0; i < sizeof *record; i += piece)
            memset(reinterpret_cast<char *>(record) + i, 0, piece);
    } else {
        memset(record, 0, sizeof *record);
    }
}

// A bucket's rate in kbps.
inline uint32_t bucket_kbps(const kxqos_rate_bucket_t *pBucket)
{
    return pBucket->rateLimit / KXQOS_RATE_UNITS;
}

#endif
