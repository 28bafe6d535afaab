/* Prints the contract between the tool, the kernel module and libkx, as this compiler lays it out.
 *
 * Plain C11. Compile it with the compiler and the headers that made the module or the library; what it prints has to
 * be what docs/gateway.md shows.
 */
#include "libkx.h"

#include <stdio.h>

#define REQUEST(name, payload) printf("| %s | %d | 0x%08x | %zu |\n", #name, name, KXQOS_REQUEST(name), sizeof(payload))
#define RECORD(type) printf("| %s | | | %zu |\n", #type, sizeof(type))
#define FIELD(type, field) \
    printf("| %s | %s | %zu | %zu |\n", #type, #field, offsetof(type, field), sizeof(((type *)0)->field))

static void requests(void)
{
    puts("| request | number | as sent | payload bytes |");
    puts("|---|---|---|---|");
    REQUEST(KXQOS_DEBUG_SET, uint32_t);
    REQUEST(KXQOS_DEBUG_GET, uint32_t);
    REQUEST(KXQOS_DEBUG_SHOW, uint32_t);
    REQUEST(KXQOS_BUCKET_SET, kxqos_rate_bucket_t);
    REQUEST(KXQOS_BUCKET_DELETE, kxqos_rate_bucket_t);
    REQUEST(KXQOS_BUCKET_GET, kxqos_rate_bucket_t);
    REQUEST(KXQOS_BUCKET_NEXT, kxqos_rate_bucket_t);
    REQUEST(KXQOS_BUCKET_SHOW, kxqos_rate_bucket_t);
    REQUEST(KXQOS_RULE_ADD, kxqos_rule_t);
    REQUEST(KXQOS_RULE_DELETE, kxqos_rule_t);
    REQUEST(KXQOS_RULE_RESET, kxqos_rule_t);
    REQUEST(KXQOS_RULE_GET, kxqos_rule_t);
    REQUEST(KXQOS_RULE_NEXT, kxqos_rule_t);
    REQUEST(KXQOS_RATE_LIMIT_SET, kxqos_rl_ioctl_t);
    REQUEST(KXQOS_RATE_LIMIT_GET, kxqos_rl_ioctl_t);
    REQUEST(KXQOS_COUNTER_DISABLE, kxqos_counter_info_s);
    REQUEST(KXQOS_COUNTER_ENABLE, kxqos_counter_info_s);
    REQUEST(KXQOS_COUNTER_GET, kxqos_counter_info_s);
    REQUEST(KXQOS_COUNTER_CLEAR, kxqos_counter_info_s);
    REQUEST(KXQOS_STATE_SET, uint32_t);
    REQUEST(KXQOS_STATE_GET, uint32_t);
    REQUEST(KXQOS_QUEUE_MAP_GET, kxqos_queue_map_t);
    REQUEST(KXQOS_PURE_DSCP_SET, uint32_t);
    REQUEST(KXQOS_PURE_DSCP_GET, uint32_t);
    REQUEST(KXQOS_FINE_CLASSIFY_SET, uint32_t);
    REQUEST(KXQOS_FINE_CLASSIFY_GET, uint32_t);
    REQUEST(KXQOS_REFRESH_SET, uint32_t);
}

static void rule_records(void)
{
    RECORD(ip_addr_t);
    FIELD(ip_addr_t, ipv4Addr);
    FIELD(ip_addr_t, ipv6Addr);
    RECORD(kxqos_entry_t);
    FIELD(kxqos_entry_t, dstMac);
    FIELD(kxqos_entry_t, srcMac);
    FIELD(kxqos_entry_t, etherType);
    FIELD(kxqos_entry_t, tpid);
    FIELD(kxqos_entry_t, vlanID);
    FIELD(kxqos_entry_t, innerVlanID);
    FIELD(kxqos_entry_t, vlanPri);
    FIELD(kxqos_entry_t, innerVlanPri);
    FIELD(kxqos_entry_t, srcIP);
    FIELD(kxqos_entry_t, dstIP);
    FIELD(kxqos_entry_t, tos);
    FIELD(kxqos_entry_t, dscp);
    FIELD(kxqos_entry_t, pre);
    FIELD(kxqos_entry_t, ipProtocol);
    FIELD(kxqos_entry_t, flowlabel);
    FIELD(kxqos_entry_t, tc);
    FIELD(kxqos_entry_t, srcPort);
    FIELD(kxqos_entry_t, dstPort);
    RECORD(kxqos_action_t);
    FIELD(kxqos_action_t, newPri);
    FIELD(kxqos_action_t, newDscp);
    FIELD(kxqos_action_t, queue);
    FIELD(kxqos_action_t, rateBucket);
    FIELD(kxqos_action_t, counterID);
    FIELD(kxqos_action_t, actionFlag);
    RECORD(kxqos_rule_t);
    FIELD(kxqos_rule_t, table_id);
    FIELD(kxqos_rule_t, rule_id);
    FIELD(kxqos_rule_t, field);
    FIELD(kxqos_rule_t, mask);
    FIELD(kxqos_rule_t, rxPortBits);
    FIELD(kxqos_rule_t, txPortBits);
    FIELD(kxqos_rule_t, inDev);
    FIELD(kxqos_rule_t, outDev);
    FIELD(kxqos_rule_t, wanDev);
    FIELD(kxqos_rule_t, fieldInverse);
    FIELD(kxqos_rule_t, fieldMode);
    FIELD(kxqos_rule_t, fieldSel);
    FIELD(kxqos_rule_t, action);
    FIELD(kxqos_rule_t, counter);
}

static void other_records(void)
{
    RECORD(kxqos_rate_bucket_t);
    FIELD(kxqos_rate_bucket_t, bucketID);
    FIELD(kxqos_rate_bucket_t, hwBucketID);
    FIELD(kxqos_rate_bucket_t, rateLimit);
    FIELD(kxqos_rate_bucket_t, tocken);
    RECORD(kxqos_counter_info_s);
    FIELD(kxqos_counter_info_s, counterID);
    FIELD(kxqos_counter_info_s, bytes);
    FIELD(kxqos_counter_info_s, packets);
    FIELD(kxqos_counter_info_s, speed);
    RECORD(kxqos_queue_map_t);
    FIELD(kxqos_queue_map_t, prio);
    RECORD(kxqos_ip_rl_t);
    FIELD(kxqos_ip_rl_t, valid);
    FIELD(kxqos_ip_rl_t, isIpv6);
    FIELD(kxqos_ip_rl_t, ip_min);
    FIELD(kxqos_ip_rl_t, ip_max);
    FIELD(kxqos_ip_rl_t, rate);
    RECORD(kxqos_vlan_rl_t);
    FIELD(kxqos_vlan_rl_t, valid);
    FIELD(kxqos_vlan_rl_t, vid);
    FIELD(kxqos_vlan_rl_t, rate);
    RECORD(kxqos_port_rl_t);
    FIELD(kxqos_port_rl_t, valid);
    FIELD(kxqos_port_rl_t, port);
    FIELD(kxqos_port_rl_t, rate);
    RECORD(kxqos_rl_ioctl_t);
    FIELD(kxqos_rl_ioctl_t, upDir);
    FIELD(kxqos_rl_ioctl_t, mode);
    FIELD(kxqos_rl_ioctl_t, secondPart);
    FIELD(kxqos_rl_ioctl_t, reserved);
    FIELD(kxqos_rl_ioctl_t, ipRule);
    FIELD(kxqos_rl_ioctl_t, vlanRule);
    FIELD(kxqos_rl_ioctl_t, portRule);
    RECORD(libkx_qos_rule_s);
    FIELD(libkx_qos_rule_s, profile_id);
    FIELD(libkx_qos_rule_s, rule_id);
    FIELD(libkx_qos_rule_s, field);
    FIELD(libkx_qos_rule_s, mask);
    FIELD(libkx_qos_rule_s, rxPortBits);
    FIELD(libkx_qos_rule_s, txPortBits);
    FIELD(libkx_qos_rule_s, inDev);
    FIELD(libkx_qos_rule_s, outDev);
    FIELD(libkx_qos_rule_s, wanDev);
    FIELD(libkx_qos_rule_s, fieldInverse);
    FIELD(libkx_qos_rule_s, fieldMode);
    FIELD(libkx_qos_rule_s, fieldSel);
    FIELD(libkx_qos_rule_s, action);
}

int main(void)
{
    requests();
    puts("\n| record | field | offset | bytes |\n|---|---|---|---|");
    rule_records();
    other_records();
    return 0;
}
