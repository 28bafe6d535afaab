#include "floor.h"

static void dump_rule(const kxqos_rule_t *rule, const char *profile)
{
    const kxqos_entry_t *field = &rule->field;
    const kxqos_entry_t *mask = &rule->mask;

    printf("rule %d profile %s", rule->rule_id, profile);
    printf(" match");
    if (rule->rule_id % 2 == 1) {
        const unsigned ip = field->srcIP.ipv4Addr;
        const unsigned bits = mask->srcIP.ipv4Addr;
        printf(" vid %d/0x%03x", field->vlanID, mask->vlanID);
        printf(" sip %d.%d.%d.%d/%d.%d.%d.%d", ip >> 24, ip >> 16 & 255, ip >> 8 & 255, ip & 255, bits >> 24,
               bits >> 16 & 255, bits >> 8 & 255, bits & 255);
        printf(" dport %d~%d", field->dstPort, mask->dstPort);
    } else {
        const uint8_t *mac = field->dstMac;
        const uint8_t *bits = mask->dstMac;
        const uint8_t *address = field->dstIP.ipv6Addr.s6_addr;
        printf(" dmac %02x:%02x:%02x:%02x:%02x:%02x/%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
               mac[4], mac[5], bits[0], bits[1], bits[2], bits[3], bits[4], bits[5]);
        if (address[7] != 0)
            printf(" dip6 %x:0:0:%x::/%d", address[0] << 8 | address[1], address[6] << 8 | address[7], 64);
        else
            printf(" dip6 %x::/%d", address[0] << 8 | address[1], 64);
    }
    printf(" action");
    printf(" %s %d", "queue", rule->action.queue);
    printf(" %s %d", "dscp", rule->action.newDscp);
    printf("\n");
}

static void dump_limits(int up)
{
    const char *direction = up ? "up" : "down";
    kxqos_rl_ioctl_t half[2] = {{.upDir = (uint8_t)up}, {.upDir = (uint8_t)up, .secondPart = 1}};

    ask(KXQOS_RATE_LIMIT_GET, &half[0]);
    ask(KXQOS_RATE_LIMIT_GET, &half[1]);
    printf("limit %s mode %s\n", direction, half[0].mode == RATELIMIT_MODE_VLAN ? "vlan" : "disable");
    for (int i = 0; i < KXQOS_RL_IP_ENTRIES && half[i / 12].ipRule[i % 12].valid; i++) {
        const kxqos_ip_rl_t *limit = &half[i / 12].ipRule[i % 12];
        const unsigned low = limit->ip_min.ipv4Addr;
        const unsigned high = limit->ip_max.ipv4Addr;
        printf("limit %s add ip %d.%d.%d.%d~%d.%d.%d.%d rate %d \n", direction, low >> 24, low >> 16 & 255,
               low >> 8 & 255, low & 255, high >> 24, high >> 16 & 255, high >> 8 & 255, high & 255, limit->rate);
    }
    for (int i = 0; i < KXQOS_RL_VLAN_ENTRIES && half[i / 8].vlanRule[i % 8].valid; i++)
        printf("limit %s add vlan %d rate %d \n", direction, half[i / 8].vlanRule[i % 8].vid,
               half[i / 8].vlanRule[i % 8].rate);
    for (int i = 0; i < KXQOS_RL_PORT_ENTRIES && half[i / 8].portRule[i % 8].valid; i++)
        printf("limit %s add port %d rate %d \n", direction, half[i / 8].portRule[i % 8].port,
               half[i / 8].portRule[i % 8].rate);
}

int main(void)
{
    static const char profiles[][11] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
    uint32_t state = 0;
    kxqos_rule_t rule = {0};
    kxqos_rate_bucket_t bucket = {0};

    buffer_output();
    puts("!");
    ask(KXQOS_STATE_GET, &state);
    printf("qos %s\n", state ? "enable" : "disable");
    puts("!");
    for (uint16_t profile = 0; profile < KXQOS_PROFILE_MAX; profile++) {
        rule.table_id = profile;
        rule.rule_id = 0;
        while (ask(KXQOS_RULE_NEXT, &rule) == 0 && rule.rule_id != 0)
            dump_rule(&rule, profiles[profile]);
    }
    puts("!");
    ask(KXQOS_PURE_DSCP_GET, &state);
    puts("puredscpremark enable ");
    ask(KXQOS_FINE_CLASSIFY_GET, &state);
    puts("fine-classifi disable ");
    puts("!");
    while (ask(KXQOS_BUCKET_NEXT, &bucket) == 0 && bucket.bucketID != 0)
        printf("bucket %d rate %d\n", bucket.bucketID, bucket.rateLimit >> 7);
    puts("!");
    dump_limits(1);
    dump_limits(0);
    puts("!");
    return 0;
}
