#include "bucket.h"

#include "device.h"
#include "number.h"
#include "output.h"
#include "record.h"
#include "usage.h"
#include "words.h"

static int incomplete_command()
{
    print_line("Err: Incomplete command! ");
    rate_bucket_cmd_usage();
    return -1;
}

static int invalid_command()
{
    print_line("Err: Invalid command! ");
    return -1;
}

static void show_rate_bucket_entry(const kxqos_rate_bucket_t *pBucket)
{
    if (pBucket->bucketID < 1 || pBucket->bucketID > KXQOS_BUCKET_LAST)
        return;
    const int tocken = static_cast<int>(pBucket->tocken);
    if (pBucket->rateLimit == 0)
        print("Bucket %d: rate no limit, hwID %d, tocken %d \n", pBucket->bucketID, pBucket->hwBucketID, tocken);
    else
        print("Bucket %d: rate %d(kbps), hwID %d, tocken %d \n", pBucket->bucketID,
              static_cast<int>(bucket_kbps(pBucket)), pBucket->hwBucketID, tocken);
}

static int set_rate(const char *rate, kxqos_rate_bucket_t *bucket)
{
    if (parse_u32(rate, &bucket->rateLimit, 0, KXQOS_RATE_LAST) != 0)
        return -1;
    bucket->rateLimit *= KXQOS_RATE_UNITS;
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_BUCKET_SET), bucket);
}

static int show_bucket(kxqos_rate_bucket_t *bucket)
{
    const int result = kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_BUCKET_GET), bucket);
    if (result < 0)
        print_line("the bucket is not configured ");
    else
        show_rate_bucket_entry(bucket);
    return result;
}

int do_rate_bucket_command(int count, const char *const *words)
{
    kxqos_rate_bucket_t bucket;
    clear(&bucket);
    if (count == 1 && begins(words[0], "show", 2))
        return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_BUCKET_SHOW), &bucket);
    if (count < 2)
        return incomplete_command();
    if (parse_u16(words[0], &bucket.bucketID, 1, KXQOS_BUCKET_LAST) != 0)
        return -1;
    if (begins(words[1], "rate", 2))
        return count == 2 ? incomplete_command() : set_rate(words[2], &bucket);
    if (begins(words[1], "show", 2))
        return count > 2 ? invalid_command() : show_bucket(&bucket);
    if (begins(words[1], "delete", 2))
        return count > 2 ? invalid_command() : kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_BUCKET_DELETE), &bucket);
    print_line("Err: Unknown command! ");
    return 0; // kept: scripts rely on status 0 here
}
