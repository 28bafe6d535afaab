/* The gateway of the benchmark: open and ioctl of /dev/kxqos, answered from a configuration that is computed, so that
 * what is counted is the tool's and not a simulation's. It is linked into the benchmark's own libkx.so, which stands in
 * front of the C library anyway: nothing is preloaded, and no library more is loaded than on a gateway.
 *
 * RULES is the share of a full gateway that is configured: 0 nothing, 1 half of the rules, 2 everything. */
#include "kernel.h"
#include "kxqos.h"

#include <stdarg.h>
#include <stdbool.h>

static const uint16_t rules_of[KXQOS_PROFILE_MAX] = {KXQOS_PROFILES(KXQOS_HIGHEST_RULE)};

static void zero(void *record, size_t size)
{
    for (size_t i = 0; i < size; i++)
        ((volatile char *)record)[i] = 0; /* volatile: memset would have to be looked up */
}

static void select_field(kxqos_rule_t *rule, int field)
{
    rule->fieldSel[field / 8] |= (uint8_t)(1 << field % 8);
}

/* Odd rules have a VLAN, an IPv4 address and a port range; even ones a MAC address and an IPv6 prefix. */
static void fill_rule(kxqos_rule_t *rule, uint16_t table, uint16_t id)
{
    zero(rule, sizeof *rule);
    rule->table_id = table;
    rule->rule_id = id;
    rule->action.actionFlag = 1u << KXQOS_ACTION_ASSIGN_QUEUE | 1u << KXQOS_ACTION_CHG_DSCP;
    rule->action.queue = id % 8;
    rule->action.newDscp = 46;
    if (id % 2 == 1) {
        select_field(rule, KXQOS_MATCH_VID);
        rule->field.vlanID = 100 + table;
        rule->mask.vlanID = 0xFFF;
        select_field(rule, KXQOS_MATCH_SIPV4);
        rule->field.srcIP.ipv4Addr = 0x0A000000u | id;
        rule->mask.srcIP.ipv4Addr = 0xFFFFFFFFu;
        select_field(rule, KXQOS_MATCH_L4DSTPORT);
        rule->fieldMode[KXQOS_MATCH_L4DSTPORT / 8] |= 1 << KXQOS_MATCH_L4DSTPORT % 8;
        rule->field.dstPort = id;
        rule->mask.dstPort = id + 1000;
    } else {
        select_field(rule, KXQOS_MATCH_DMAC);
        rule->field.dstMac[5] = (uint8_t)id;
        for (int i = 0; i < 6; i++)
            *(volatile uint8_t *)&rule->mask.dstMac[i] = 0xFF;
        select_field(rule, KXQOS_MATCH_DIPV6);
        rule->field.dstIP.ipv6Addr.s6_addr[0] = 0x20;
        rule->field.dstIP.ipv6Addr.s6_addr[1] = 0x01;
        rule->field.dstIP.ipv6Addr.s6_addr[7] = (uint8_t)id;
        for (int i = 0; i < 8; i++)
            *(volatile uint8_t *)&rule->mask.dstIP.ipv6Addr.s6_addr[i] = 0xFF;
    }
}

static void next_rule(kxqos_rule_t *rule)
{
    const int last = rules_of[rule->table_id] * RULES / 2;

    if (rule->rule_id < last)
        fill_rule(rule, rule->table_id, rule->rule_id + 1);
    else
        rule->rule_id = 0;
}

static void next_bucket(kxqos_rate_bucket_t *bucket)
{
    bucket->bucketID = RULES == 2 && bucket->bucketID < KXQOS_BUCKET_LAST ? bucket->bucketID + 1 : 0;
    bucket->rateLimit = bucket->bucketID * 64u << 7;
}

static void fill_limits(kxqos_rl_ioctl_t *half)
{
    if (RULES != 2)
        return;
    half->mode = RATELIMIT_MODE_VLAN;
    for (int i = 0; i < KXQOS_RL_IP_ENTRIES / 2; i++) {
        const uint32_t address = 0xC0A80000u + (uint32_t)half->secondPart * 12 + (uint32_t)i;

        half->ipRule[i].valid = 1;
        half->ipRule[i].ip_min.ipv4Addr = half->ipRule[i].ip_max.ipv4Addr = address;
        half->ipRule[i].rate = 2048;
    }
    for (int i = 0; i < KXQOS_RL_VLAN_ENTRIES / 2; i++) {
        half->vlanRule[i].valid = half->portRule[i].valid = 1;
        half->vlanRule[i].vid = (uint16_t)(half->secondPart * 8 + i + 1);
        half->portRule[i].port = (uint16_t)(half->secondPart * 8 + i);
        half->vlanRule[i].rate = half->portRule[i].rate = 1024;
    }
}

EXPORTED int open(const char *path, int flags, ...)
{
    (void)path; /* only the device is opened */
    return (int)kernel(SYS_openat, -100, (long)"/dev/null", flags, 0);
}

EXPORTED int ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *data = va_arg(arguments, void *);
    va_end(arguments);

    kernel(SYS_ioctl, fd, (long)request, (long)data, 0); /* refused by /dev/null */
    switch (request & 0xFF) {
    case KXQOS_RULE_GET: {
        const kxqos_rule_t *asked = data;
        fill_rule(data, asked->table_id, asked->rule_id);
        break;
    }
    case KXQOS_RULE_NEXT:
        next_rule(data);
        break;
    case KXQOS_BUCKET_NEXT:
        next_bucket(data);
        break;
    case KXQOS_RATE_LIMIT_GET:
        fill_limits(data);
        break;
    case KXQOS_COUNTER_GET:
        ((kxqos_counter_info_s *)data)->packets = 1000;
        ((kxqos_counter_info_s *)data)->bytes = 64000;
        ((kxqos_counter_info_s *)data)->speed = 512;
        break;
    case KXQOS_STATE_GET:
    case KXQOS_PURE_DSCP_GET:
        *(uint32_t *)data = 1;
        break;
    case KXQOS_FINE_CLASSIFY_GET:
        *(uint32_t *)data = 0;
        break;
    default:
        break;
    }
    return 0;
}
