// The command "bucket": numbered rate limiters.
#ifndef KXQOSCTL_BUCKET_H
#define KXQOSCTL_BUCKET_H

#include "kxqos.h"

// count words after "bucket". Returns 0, -1, or a positive result of the module's.
int do_rate_bucket_command(int count, const char *const *words);

// A bucket's rate in kbps.
inline uint32_t bucket_kbps(const kxqos_rate_bucket_t *pBucket)
{
    return pBucket->rateLimit >> 7;
}

// One step of a walk over the buckets: the record names the last one seen (bucketID 0 to start) and is overwritten by
// the next one, or by bucketID 0 at the end. Returns the request's result.
int get_next_valid_rate_bucket(kxqos_rate_bucket_t *pBucket);

#endif
