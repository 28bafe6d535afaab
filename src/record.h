// Clearing of a record that goes to the kernel module or to the library.
#ifndef KXQOSCTL_RECORD_H
#define KXQOSCTL_RECORD_H

#include <string.h>

// Zeroes every byte. An initialiser "= {}" is not enough: it leaves the padding, and of an IPv4 address the twelve
// bytes after it, to the compiler, and the whole record is sent.
template <typename Record> inline void clear(Record *record)
{
    memset(record, 0, sizeof *record);
}

#endif
