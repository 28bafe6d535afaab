#include "limit_command.h"

#include "address.h"
#include "limit_db.h"
#include "limit_hardware.h"
#include "limit_show.h"
#include "loss.h"
#include "number.h"
#include "output.h"
#include "record.h"
#include "usage.h"
#include "words.h"

#include <string.h>

static int usage_and_fail()
{
    rate_limit_cmd_usage();
    return -1;
}

static int format_error(const char *what)
{
    print("Err: %s format error \n", what);
    return -1;
}

// Returns result, unless the database cannot be written.
static int write_back(const kxqos_rl_t *db, int result)
{
    if (set_rate_limit_db(db) == 0)
        return result;
    print_line("Err: write back rate limit db fail ");
    return -1;
}

// Whole words, but for "disable", of which two characters count. -1 for any other.
static int find_mode(const char *word)
{
    if (equals(word, "ip"))
        return RATELIMIT_MODE_IP;
    if (equals(word, "vlan"))
        return RATELIMIT_MODE_VLAN;
    if (equals(word, "port"))
        return RATELIMIT_MODE_PORT;
    return begins(word, "disable", 2) ? RATELIMIT_MODE_DISABLE : -1;
}

static int change_mode(kxqos_rl_t *db, const char *word)
{
    const int mode = find_mode(word);
    if (mode < 0) {
        print("Err: unknow mode %s\n", word);
        return -1;
    }
    if (mode == db->mode)
        return 0;
    oper_rate_limit_hw_rules(db, 0);
    db->mode = static_cast<uint8_t>(mode);
    oper_rate_limit_hw_rules(db, 1);
    return write_back(db, 0);
}

// The words of an addition or a deletion, from the object on: <object> <key> rate <kbps>.
struct limit_words {
    bool addition;
    const char *object;
    const char *key;
};

static int change_ip_limit(kxqos_rl_t *db, const limit_words &words, bool ipv6, uint32_t rate)
{
    kxqos_ip_rl_t limit;
    clear(&limit);
    limit.valid = 1;
    limit.isIpv6 = ipv6 ? 1 : 0;
    limit.rate = rate;
    int rangeMode = 0;
    int inverseFlag = 0;
    if (ipv6) {
        if (parse_ipv6_addr(words.key, &limit.ip_min.ipv6Addr, &limit.ip_max.ipv6Addr, &rangeMode, &inverseFlag) != 0)
            return format_error("ip6 address");
    } else {
        if (parse_ip_addr(words.key, &limit.ip_min.ipv4Addr, &limit.ip_max.ipv4Addr, &rangeMode, &inverseFlag) != 0)
            return format_error("ip address");
    }
    // kept: both are taken, and neither counts
    if (inverseFlag != 0)
        lose("the \"!\"");
    if (strchr(words.key, '/') != nullptr)
        lose("the mask");
    if (rangeMode == 0) // a mask does not make a range
        limit.ip_max = limit.ip_min;
    const auto change = words.addition ? add_ip_rate_limit : del_ip_rate_limit;
    change(db, &limit);
    return write_back(db, 0);
}

static int change_vlan_limit(kxqos_rl_t *db, const limit_words &words, uint32_t rate)
{
    kxqos_vlan_rl_t limit = {.valid = 1, .vid = 0, .rate = rate};
    if (parse_u16(words.key, &limit.vid, 1, 4095) != 0)
        return format_error("vlan id");
    const auto change = words.addition ? add_vlan_rate_limit : del_vlan_rate_limit;
    change(db, &limit);
    return write_back(db, 0);
}

static int change_port_limit(kxqos_rl_t *db, const limit_words &words, uint32_t rate)
{
    kxqos_port_rl_t limit = {.valid = 1, .port = 0, .rate = rate};
    if (parse_u16(words.key, &limit.port, 0, 31) != 0)
        return format_error("port id");
    const auto change = words.addition ? add_port_rate_limit : del_port_rate_limit;
    change(db, &limit);
    return write_back(db, 0);
}

static int change_limit(kxqos_rl_t *db, const limit_words &words, uint32_t rate)
{
    if (equals(words.object, "ip6"))
        return change_ip_limit(db, words, true, rate);
    if (equals(words.object, "ip"))
        return change_ip_limit(db, words, false, rate);
    if (begins(words.object, "vlan", 2))
        return change_vlan_limit(db, words, rate);
    if (begins(words.object, "port", 2))
        return change_port_limit(db, words, rate);
    print("Err: unknow argument %s\n", words.object);
    return write_back(db, -1); // kept: the unchanged database is sent, as it always was
}

static int change_database(kxqos_rl_t *db, int count, const char *const *words)
{
    if (begins(words[1], "mode", 2))
        return change_mode(db, words[2]);
    const bool addition = begins(words[1], "add", 2);
    if (!addition && !begins(words[1], "delete", 2)) {
        rate_limit_cmd_usage();
        return write_back(db, -1); // kept: the unchanged database is sent, as it always was
    }
    // A deletion wants its rate too, though it is not used. A word other than "rate" is refused, so that a slip of
    // the pen never installs a limit of 0.
    if (count < 6 || !equals(words[4], "rate"))
        return usage_and_fail();
    uint32_t rate = 0;
    if (parse_u32(words[5], &rate, 0, -1) != 0)
        return format_error("rate");
    return change_limit(db, {addition, words[2], words[3]}, rate);
}

int do_rate_limit_command(int count, const char *const *words)
{
    if (count == 1 && equals(words[0], "show")) {
        show_rate_limit();
        return 0;
    }
    if (count < 3)
        return usage_and_fail();
    kxqos_rl_t db;
    clear(&db);
    if (equals(words[0], "up"))
        db.upDir = 1;
    else if (!equals(words[0], "down"))
        return usage_and_fail();
    return get_rate_limit_db(&db) == 0 ? change_database(&db, count, words) : -1;
}
