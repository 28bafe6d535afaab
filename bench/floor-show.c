#include "floor.h"

int main(void)
{
    kxqos_rule_t rule = {.rule_id = 5};

    ask(KXQOS_RULE_GET, &rule);
    buffer_output();
    printf("Profile %s Rule ID: %02d  cnt:%lld\n", "qos", rule.rule_id, (long long)rule.counter);
    puts("  Match filed { ");
    printf("    vid: %d, mask 0x%03x \n", rule.field.vlanID, rule.mask.vlanID);
    const unsigned ip = rule.field.srcIP.ipv4Addr;
    const unsigned mask = rule.mask.srcIP.ipv4Addr;
    printf("    sip4: %d.%d.%d.%d, mask %d.%d.%d.%d \n", ip >> 24, ip >> 16 & 255, ip >> 8 & 255, ip & 255, mask >> 24,
           mask >> 16 & 255, mask >> 8 & 255, mask & 255);
    printf("    dstPort: %d ~ %d \n", rule.field.dstPort, rule.mask.dstPort);
    puts("  } ");
    puts("  Action { ");
    printf("    Mapping to queue: %d \n", rule.action.queue);
    printf("    Change DSCP: %d \n", rule.action.newDscp);
    puts("  } ");
    return 0;
}
