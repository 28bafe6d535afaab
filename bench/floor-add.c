#include "floor.h"

int main(void)
{
    kxqos_rule_t rule = {.rule_id = 5,
                         .field.dstMac = {0, 0x11, 0x22, 0x33, 0x44, 0x55},
                         .mask.dstMac = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                         .fieldSel = {1},
                         .action = {.queue = 3, .actionFlag = 1}};

    return ask(KXQOS_RULE_ADD, &rule);
}
