#include "status.h"

#include <arpa/inet.h>
#include <stdio.h>

#define PROFILE_WORD(name, word, rules) word,
static const char profile_names[KXQOS_PROFILE_MAX][16] = {KXQOS_PROFILES(PROFILE_WORD)};
static const char mode_names[RATELIMIT_MODE_MAX][16] = {"disable", "ip", "vlan", "port"};
#define FIELD_WORD(name, number, word) word,
static const char field_names[KXQOS_MATCH_MAX][16] = {KXQOS_MATCHES(FIELD_WORD)};

static const char *on_or_off(uint32_t state)
{
    return state != 0 ? "on" : "off";
}

static const char *ipv4_text(uint32_t address, char *buffer)
{
    const struct in_addr network = {htonl(address)};

    return inet_ntop(AF_INET, &network, buffer, INET6_ADDRSTRLEN);
}

static void print_addresses(const ip_addr_t *min, const ip_addr_t *max, bool is_ipv6)
{
    char low[INET6_ADDRSTRLEN];
    char high[INET6_ADDRSTRLEN];

    if (is_ipv6)
        printf("ip6 %s to %s", inet_ntop(AF_INET6, &min->ipv6Addr, low, sizeof low),
               inet_ntop(AF_INET6, &max->ipv6Addr, high, sizeof high));
    else
        printf("ip %s to %s", ipv4_text(min->ipv4Addr, low), ipv4_text(max->ipv4Addr, high));
}

/* Rules: the fields in use ("!" before a negated one, "~" after a range) and the actions. */

static bool has_bit(const uint8_t *bits, unsigned bit)
{
    return (bits[bit / 8] >> bit % 8 & 1) != 0;
}

static void print_actions(const kxqos_action_t *action)
{
    /* Not the keywords in commands: two of them have none. */
    static const char names[KXQOS_ACTION_MAX][24] = {"queue",
                                                     "bucket",
                                                     "priority",
                                                     "dscp",
                                                     "counter",
                                                     "debug",
                                                     "bypass kxnat",
                                                     "fine classify",
                                                     "remark force dscp",
                                                     "software forwarding"};
    const unsigned values[KXQOS_ACTION_MAX] = {action->queue, action->rateBucket, action->newPri, action->newDscp,
                                               action->counterID};

    for (unsigned i = 0; i < KXQOS_ACTION_MAX; i++) {
        if ((action->actionFlag >> i & 1) == 0)
            continue;
        printf(" %s", names[i]);
        if (i <= KXQOS_ACTION_ASSIGN_COUNTER)
            printf(" %u", values[i]);
    }
}

static void print_rule(const kxqos_rule_t *rule)
{
    printf("    %u:", rule->rule_id);
    for (unsigned i = 0; i < KXQOS_MATCH_MAX; i++) {
        if (has_bit(rule->fieldSel, i))
            printf(" %s%s%s", has_bit(rule->fieldInverse, i) ? "!" : "", field_names[i],
                   has_bit(rule->fieldMode, i) ? "~" : "");
    }
    printf(" ->");
    print_actions(&rule->action);
    putchar('\n');
}

static void print_rules(const struct model *module)
{
    for (unsigned profile = 0; profile < KXQOS_PROFILE_MAX; profile++) {
        const unsigned limit = model_rule_limit(profile);
        unsigned count = 0;
        for (unsigned i = 1; i <= limit; i++)
            count += model_rule(module, profile, i)->rule_id != 0;
        printf("  rules of %s: %u of %u\n", profile_names[profile], count, limit);
        for (unsigned i = 1; i <= limit; i++) {
            if (model_rule(module, profile, i)->rule_id != 0)
                print_rule(model_rule(module, profile, i));
        }
    }
}

static void print_switches(const struct model *module)
{
    printf("  qos %s, pure dscp %s, fine classification %s, refresh %s, debug flags 0x%03x\n",
           on_or_off(module->qos_enabled), on_or_off(module->pure_dscp_enabled),
           on_or_off(module->fine_classify_enabled), on_or_off(module->refresh_suppressed == 0), module->debug_flags);
    printf("  queues of priorities 0 to 7:");
    for (unsigned i = 0; i < KXQOS_PRIORITIES; i++)
        printf(" %u", module->queue_map.prio[i]);
    putchar('\n');
}

static void print_buckets(const struct model *module)
{
    for (unsigned i = 0; i < KXQOS_BUCKET_LAST; i++) {
        const kxqos_rate_bucket_t *bucket = &module->buckets[i];
        if (bucket->bucketID != 0)
            printf("  bucket %u: %u kbps, hwBucketID %u, tocken %u\n", bucket->bucketID,
                   bucket->rateLimit / KXQOS_RATE_UNITS, bucket->hwBucketID, bucket->tocken);
    }
}

static void print_counters(const struct model *module)
{
    for (unsigned i = 0; i < KXQOS_COUNTER_LAST; i++) {
        const struct model_counter *counter = &module->counters[i];
        if (counter->enabled != 0 || counter->packets != 0)
            printf("  counter %u: %s, %llu packets\n", i + 1, on_or_off(counter->enabled),
                   (unsigned long long)counter->packets);
    }
}

static void print_rate_limit(const kxqos_rl_t *limits)
{
    printf("  rate limit %s: mode %s\n", limits->upDir != 0 ? "up" : "down",
           limits->mode < RATELIMIT_MODE_MAX ? mode_names[limits->mode] : "unknown");
    for (unsigned i = 0; i < KXQOS_RL_IP_ENTRIES; i++) {
        const kxqos_ip_rl_t *entry = &limits->ipRule[i];
        if (entry->valid == 0)
            continue;
        printf("    ");
        print_addresses(&entry->ip_min, &entry->ip_max, entry->isIpv6 != 0);
        printf(": %u kbps\n", entry->rate);
    }
    for (unsigned i = 0; i < KXQOS_RL_VLAN_ENTRIES; i++) {
        if (limits->vlanRule[i].valid != 0)
            printf("    vlan %u: %u kbps\n", limits->vlanRule[i].vid, limits->vlanRule[i].rate);
    }
    for (unsigned i = 0; i < KXQOS_RL_PORT_ENTRIES; i++) {
        if (limits->portRule[i].valid != 0)
            printf("    port %u: %u kbps\n", limits->portRule[i].port, limits->portRule[i].rate);
    }
}

static void print_module(const struct model *module)
{
    puts("module");
    print_switches(module);
    print_rules(module);
    print_buckets(module);
    print_counters(module);
    print_rate_limit(&module->limits[1]);
    print_rate_limit(&module->limits[0]);
}

static void print_switch_limit(const struct library_limit *limit)
{
    printf("  limit in direction %u: ", limit->direction);
    if (limit->kind == LIBRARY_VLAN || limit->kind == LIBRARY_PORT)
        printf("%s %u", limit->kind == LIBRARY_VLAN ? "vlan" : "port", limit->min.ipv4Addr);
    else
        print_addresses(&limit->min, &limit->max, limit->kind == LIBRARY_IPV6);
    printf(", %u kbps\n", limit->rate);
}

static void print_host(unsigned number, const struct library_host *host)
{
    printf("  host %u: mac %02x:%02x:%02x:%02x:%02x:%02x, statistics %s, up %u kbps, down %u kbps, bucket %d, "
           "counter %d\n",
           number, host->mac[0], host->mac[1], host->mac[2], host->mac[3], host->mac[4], host->mac[5],
           on_or_off(host->stats_enabled), host->up_limit, host->down_limit, host->bucket, host->counter);
}

static void print_library_numbers(const struct library *library)
{
    for (unsigned i = 0; i < KXQOS_COUNTER_LAST; i++) {
        if (library->counters[i].present != 0)
            printf("  counter %u: %llu packets\n", i + 1,
                   (unsigned long long)(library->offered - library->counters[i].zero));
    }
    for (unsigned i = 0; i < KXQOS_BUCKET_LAST; i++) {
        if (library->buckets[i].present != 0)
            printf("  bucket %u: %u kbps\n", i + 1, library->buckets[i].rate);
    }
    for (unsigned i = 0; i < LIBRARY_RULES; i++) {
        if (library->rules[i].rule_id != 0)
            printf("  rule %u of profile %u\n", library->rules[i].rule_id, library->rules[i].profile_id);
    }
}

static void print_library(const struct library *library)
{
    printf("library\n  packets offered: %llu\n", (unsigned long long)library->offered);
    for (unsigned i = 0; i < LIBRARY_LIMITS; i++) {
        if (library->limits[i].kind != LIBRARY_NO_LIMIT)
            print_switch_limit(&library->limits[i]);
    }
    for (unsigned i = 0; i < LIBKX_HOST_LAST; i++) {
        if (library->hosts[i].present != 0)
            print_host(i + 1, &library->hosts[i]);
    }
    for (unsigned i = 0; i < LIBRARY_WANS; i++) {
        const struct library_wan *wan = &library->wans[i];
        if (wan->name[0] != '\0')
            printf("  wan %.*s: up %u kbps, down %u kbps\n", LIBRARY_WAN_NAME, wan->name, wan->up_limit,
                   wan->down_limit);
    }
    print_library_numbers(library);
}

void print_status(const struct model *module, const struct library *library)
{
    print_module(module);
    print_library(library);
}

void print_log(const struct model *module)
{
    const char *line;

    for (uint32_t n = 0; (line = model_log_line(module, n)) != NULL; n++)
        printf("%.*s\n", MODEL_LOG_WIDTH - 1, line);
}
