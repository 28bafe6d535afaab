/* A library's walk over rules of all sorts, to be preloaded: the self-test itself adds only rules of one. */
#include "libkx.h"

#include <string.h>

/* Sets the bit of a match field. */
static void put(uint8_t *bits, int field)
{
    bits[field / 8] = (uint8_t)(bits[field / 8] | 1U << field % 8);
}

/* Neither port nor queue, though values, marks and other actions are there. */
static void nothing_to_show(libkx_qos_rule_s *rule)
{
    rule->profile_id = 3;
    rule->rule_id = 7;
    rule->field.srcPort = 1;
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4SRCPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_EGR_L4SRCPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_IPPROTO);
    rule->action.actionFlag = 0x1fe;
}

static void source_only(libkx_qos_rule_s *rule)
{
    rule->profile_id = 65535;
    rule->rule_id = 65535;
    rule->field.srcPort = 65535;
    rule->mask.srcPort = 65534;
    rule->field.dstPort = 1;
    rule->mask.dstPort = 2;
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_L4SRCPORT);
    rule->action.queue = 65535;
    rule->action.actionFlag = 1;
}

static void destination_only(libkx_qos_rule_s *rule)
{
    rule->rule_id = 1;
    rule->field.srcPort = 1;
    rule->mask.srcPort = 2;
    rule->field.dstPort = 65533;
    rule->mask.dstPort = 65532;
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_L4DSTPORT);
}

static void both(libkx_qos_rule_s *rule)
{
    rule->rule_id = 2;
    rule->field.srcPort = 1;
    rule->mask.srcPort = 2;
    rule->field.dstPort = 3;
    rule->mask.dstPort = 4;
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4SRCPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_L4SRCPORT);
    put(rule->fieldSel, LIBKX_QOS_MATCH_L4DSTPORT);
    rule->action.actionFlag = 3;
}

static void both_the_other_way_round(libkx_qos_rule_s *rule)
{
    both(rule);
    rule->rule_id = 3;
    memset(rule->fieldInverse, 0, sizeof rule->fieldInverse);
    memset(rule->fieldMode, 0, sizeof rule->fieldMode);
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4SRCPORT);
}

libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule)
{
    static void (*const rules[])(libkx_qos_rule_s *) = {nothing_to_show, source_only, destination_only, both,
                                                        both_the_other_way_round};
    static unsigned next;

    if (next == sizeof rules / sizeof rules[0])
        return LIBKX_RET_FAIL;
    memset(rule, 0, sizeof *rule);
    rules[next](rule);
    next++;
    return LIBKX_RET_OK;
}
