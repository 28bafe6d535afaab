// The command "bucket": numbered rate limiters.
#ifndef KXQOSCTL_BUCKET_H
#define KXQOSCTL_BUCKET_H

// count words after "bucket". Returns 0, -1, or a positive result of the module's.
int do_rate_bucket_command(int count, const char *const *words);

#endif
