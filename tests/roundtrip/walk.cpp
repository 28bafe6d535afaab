// A library's walk over rules of all sorts, to be preloaded: the self-test itself adds only rules of one.
#include "libkx.h"

#include <array>

namespace {

// Sets the bit of a match field.
void put(uint8_t *bits, int field)
{
    bits[field / 8] = static_cast<uint8_t>(bits[field / 8] | 1U << field % 8);
}

// Neither port nor queue, though values, marks and other actions are there.
void nothing_to_show(libkx_qos_rule_s *rule)
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

void source_only(libkx_qos_rule_s *rule)
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

void destination_only(libkx_qos_rule_s *rule)
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

void both(libkx_qos_rule_s *rule)
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

void both_the_other_way_round(libkx_qos_rule_s *rule)
{
    both(rule);
    rule->rule_id = 3;
    rule->fieldInverse[LIBKX_QOS_MATCH_L4SRCPORT / 8] = 0;
    rule->fieldMode[LIBKX_QOS_MATCH_L4DSTPORT / 8] = 0;
    put(rule->fieldInverse, LIBKX_QOS_MATCH_L4DSTPORT);
    put(rule->fieldMode, LIBKX_QOS_MATCH_L4SRCPORT);
}

} // namespace

libkx_retCode_t libkx_qos_get_next_rule(libkx_qos_rule_s *rule)
{
    static constexpr std::array rules = {nothing_to_show, source_only, destination_only, both,
                                         both_the_other_way_round};
    static size_t next = 0;

    if (next == rules.size())
        return LIBKX_RET_FAIL;
    *rule = {};
    rules.at(next)(rule);
    next++;
    return LIBKX_RET_OK;
}
