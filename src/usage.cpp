#include "usage.h"

#include "output.h"
#include "profiles.h"

// Typed, and not made of the tables; a test compares them with what is taken, and knows where they differ.
// kept: blanks at the ends of lines, empty last lines, and ranges that differ from what is accepted; the texts are
// compared as they are.

struct menu_row {
    char name[14];
    char description[50];
};

// kept: queue, puredscpremark, fine-classifi and test are accepted, but not listed here; the menu is compared as it is.
static constexpr menu_row menu[] = {
    {"debug", "debug related configuration"},
    {"bucket", "rate bucket related configuration"},
    {"rule", "traffic classification&mark related configuration"},
    {"limit", "LAN side rate limit"},
    {"qos", "qos global related configuration"},
    {"configuration", "configuration related configuration"},
    {"counter", "get or clear counter"},
    {"reset", "reset profile table"},
    {"refresh", "disable or enable forwarding table refresh"},
};

void main_menu_dump()
{
    print_line("Usage: ");
    for (const menu_row &row : menu)
        print("  %-15s: %s\n", row.name, row.description);
    print_line("  ");
}

void debug_cmd_usage()
{
    print_line(
        "Usage: \n"
        "  debug (info | warnning | error | packet | pre-match | match | action | fineclassifi | ratelimit | all) "
        "(on|off) \n"
        "  debug show \n"
        "  eg: debug info on \n"
        "      debug info off \n");
}

void rate_bucket_cmd_usage()
{
    print_line("Usage: \n"
               "  bucket show \n"
               "  bucket <1~64> show \n"
               "  bucket <1~64> delete \n"
               "  bucket <1~64> rate <0~10485760> \n"
               "  rate unit is kbps, 64kbps granularity \n"
               "  eg: bucket 1 rate 10240 \n");
}

// The five profiles, as a choice.
#define PROFILES "%s | %s | %s | %s | %s"
#define PROFILE_NAMES \
    qosProfileName[0].name, qosProfileName[1].name, qosProfileName[2].name, qosProfileName[3].name, \
        qosProfileName[4].name

void rule_cmd_usage()
{
    const char *standard = qosProfileName[0].name;
    print("Usage: \n"
          "  rule <1~256> profile (" PROFILES ") \n"
          "            match {dmac <mac> | smac <mac> | ethertype <0~0xffff> | \n"
          "                 vid <0~4095> | pri <0~7> | ivid <0~4095> | ipri <0~7> | \n"
          "                 sip <ipv4> | dip <ipv4> | sip6 <ipv6> | dip6 <ipv6> | \n"
          "                 tos <0~255> | dscp <0~63> | pre <0~7> | \n"
          "                 fl <0~1048575> | tc <0~255> | \n"
          "                 protocol <0~0xff> | sport <0~65535> | dport <0~65535> | \n"
          "                 edmac <mac> | esip <ipv4> | esip6 <ipv6> | esport <0~65535> | \n"
          "                 rxports <bitmap> | txports <bitmap> | protocols <0~0xff> | \n"
          "                 indev <ifname> | outdev <ifname> | wan <ifname> | invirtdev <ifname>}] \n"
          "            action {queue <0~7> | 8021p <0~7> | dscp <0~255> | rate-bucket <1~64> | \n"
          "                 counter <1~256> | dbgon | bypass-kxnat | sw-fwd}\n"
          "  rule <1~256> [profile (" PROFILES ")] delete \n"
          "  rule <1~256> [profile (" PROFILES ")] show \n"
          "  eg: rule 1 profile %s match dmac 00:00:11:01:02:00/FF:FF:FF:FF:FF:00 action queue 3 \n"
          "      rule 1 profile %s delete \n\n",
          PROFILE_NAMES, PROFILE_NAMES, PROFILE_NAMES, standard, standard);
}

void rate_limit_cmd_usage()
{
    print_line("Usage: \n"
               "  limit show \n"
               "  limit (up|down) mode (ip|vlan|port|disable) \n"
               "  limit (up|down) (add|delete) \n"
               "        (ip <min~max> | ip6 <min~max> | vlan <vid> | port <portID>) \n"
               "        rate <kbps> ");
}

void global_state_cmd_usage()
{
    print_line("Usage: \n"
               "  qos (enable|disable) ");
}

void configuration_cmd_usage()
{
    print_line("Usage: \n"
               "  configuration show");
}

void counter_cmd_usage()
{
    print_line("Usage: \n"
               "  counter show \n"
               "  counter clear \n"
               "  counter <1~256> show \n"
               "  counter <1~256> clear \n"
               "  counter <1~256> (enable|disable) ");
}

void test_cmd_usage()
{
    print_line(
        "Usage: \n"
        "  test osgi <flowID 0~7> counter <counterID> (clear | show) \n"
        "  test host <hostID 1~256> add <hostMac> <statEnable 0/1> <upLimit> <downLimit> <bucketID> <counterID> \n"
        "  test host <hostID> delete <hostMac> <bucketID> <counterID> \n"
        "  test host <hostID> counter <counterID> (clear | show) \n"
        "  test wan <devName> counter \n"
        "  test wan <devName> rate <upLimit> <downLimit> \n"
        "  test api ");
}

void reset_cmd_usage()
{
    const char *standard = qosProfileName[0].name;
    // kept: the text promises a default that there is not
    print("Usage: \n"
          "  reset [profile (" PROFILES ")] \n"
          "    -if no profile specified, %s profile is applied \n"
          "  eg: reset profile %s \n"
          "      reset \n\n",
          PROFILE_NAMES, standard, standard);
}

void refresh_cmd_usage()
{
    print_line("Usage: \n"
               "  refresh (enable|disable) \n"
               "    -refresh forwarding table for each rule applied after enabled \n"
               "  ");
}
