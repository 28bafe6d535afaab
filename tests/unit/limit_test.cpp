// Every operation on a rate-limit database returns 0, whatever it found to do.

#include "limit_hardware.h"

#include <gtest/gtest.h>

namespace {

TEST(LimitHardware, AlwaysReturns0)
{
    kxqos_rl_t db = {};
    const kxqos_ip_rl_t address = {};
    const kxqos_vlan_rl_t vlan = {};
    const kxqos_port_rl_t port = {};
    for (int round = 0; round < 2; round++) { // the first adds an entry, the second changes its rate
        EXPECT_EQ(add_ip_rate_limit(&db, &address), 0);
        EXPECT_EQ(add_vlan_rate_limit(&db, &vlan), 0);
        EXPECT_EQ(add_port_rate_limit(&db, &port), 0);
    }
    for (int round = 0; round < 2; round++) { // the first removes the entry, the second finds none
        EXPECT_EQ(del_ip_rate_limit(&db, &address), 0);
        EXPECT_EQ(del_vlan_rate_limit(&db, &vlan), 0);
        EXPECT_EQ(del_port_rate_limit(&db, &port), 0);
    }
    for (int mode = RATELIMIT_MODE_DISABLE; mode <= RATELIMIT_MODE_MAX; mode++) {
        db.mode = static_cast<uint8_t>(mode);
        EXPECT_EQ(oper_rate_limit_hw_rules(&db, 1), 0);
    }
}

} // namespace
