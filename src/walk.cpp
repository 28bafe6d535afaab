#include "walk.h"

#include "device.h"

int get_next_valid_rule_entry(kxqos_rule_t *pRule)
{
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_RULE_NEXT), pRule);
}

int get_next_valid_rate_bucket(kxqos_rate_bucket_t *pBucket)
{
    return kxqosctl_ioctl(KXQOS_REQUEST(KXQOS_BUCKET_NEXT), pBucket);
}
