#include "limit_show.h"

#include "address.h"
#include "limit_db.h"
#include "number.h"
#include "output.h"
#include "record.h"

// What differs between the two forms of an entry's line.
struct line_form {
    char begin[8]; // in front of the verb
    char verb[8];
    char ipv4[4];
    char separator[2];
};

// kept: for people an IPv4 limit is "ip4"; the command takes "ip" alone
static constexpr line_form readable = {"  ", "", "ip4", ","};
static constexpr line_form command = {"limit ", " add", "ip", ""};
static constexpr line_form deletion = {"limit ", " delete", "ip", ""};

static void dump_ip_limit(const line_form &form, const char *direction, const kxqos_ip_rl_t *limit)
{
    char low[address_text_size];
    char high[address_text_size];
    const bool ipv6 = limit->isIpv6 != 0;
    if (ipv6) {
        ip62str(&limit->ip_min.ipv6Addr, low, sizeof low);
        ip62str(&limit->ip_max.ipv6Addr, high, sizeof high);
    } else {
        ip2str(limit->ip_min.ipv4Addr, low, sizeof low);
        ip2str(limit->ip_max.ipv4Addr, high, sizeof high);
    }
    print("%s%s%s %s %s~%s%s rate %d \n", form.begin, direction, form.verb, ipv6 ? "ip6" : form.ipv4, low, high,
          form.separator, static_cast<int>(limit->rate));
}

static void dump_limit(const line_form &form, const char *direction, const char *kind, int number, uint32_t rate)
{
    print("%s%s%s %s %d%s rate %d \n", form.begin, direction, form.verb, kind, number, form.separator,
          static_cast<int>(rate));
}

// The entries in use stand together, so the first free one ends its table.
static void dump_limits(const line_form &form, const char *direction, const kxqos_rl_t *pRule)
{
    for (const kxqos_ip_rl_t &limit : pRule->ipRule) {
        if (limit.valid == 0)
            break;
        dump_ip_limit(form, direction, &limit);
    }
    for (const kxqos_vlan_rl_t &limit : pRule->vlanRule) {
        if (limit.valid == 0)
            break;
        dump_limit(form, direction, "vlan", limit.vid, limit.rate);
    }
    for (const kxqos_port_rl_t &limit : pRule->portRule) {
        if (limit.valid == 0)
            break;
        dump_limit(form, direction, "port", limit.port, limit.rate);
    }
}

void dump_rate_limit_rule(const kxqos_rl_t *pRule)
{
    dump_limits(readable, "", pRule);
}

static const char *direction_name(int upDir)
{
    return upDir != 0 ? "up" : "down";
}

static const char *direction_name(const kxqos_rl_t *pRule)
{
    return direction_name(pRule->upDir);
}

void dump_rate_limit_cfg(const kxqos_rl_t *pRule)
{
    dump_limits(command, direction_name(pRule), pRule);
}

static constexpr char mode_names[RATELIMIT_MODE_MAX][10] = {"disable", "ip", "vlan", "port"};

// The mode's name; a mode that has none, which no command stores, is shown as its number.
static const char *mode_name(const kxqos_rl_t *pRule, char (&number)[4])
{
    if (pRule->mode < RATELIMIT_MODE_MAX)
        return mode_names[pRule->mode];
    put_decimal(number, pRule->mode);
    return number;
}

static void show_both(void (*show)(const kxqos_rl_t *db, const char *mode))
{
    for (int upDir = 1; upDir >= 0; upDir--) {
        kxqos_rl_t db;
        clear(&db);
        db.upDir = static_cast<uint8_t>(upDir);
        if (get_rate_limit_db(&db) != 0)
            return;
        char number[4];
        show(&db, mode_name(&db, number));
    }
}

static void show_one(const kxqos_rl_t *db, const char *mode)
{
    print("%s direction, mode %s \n", direction_name(db), mode);
    dump_rate_limit_rule(db);
}

void show_rate_limit()
{
    show_both(show_one);
}

static void show_mode_cfg(const kxqos_rl_t *db, const char *mode)
{
    print("limit %s mode %s\n", direction_name(db), mode);
}

static void show_one_cfg(const kxqos_rl_t *db, const char *mode)
{
    show_mode_cfg(db, mode);
    dump_rate_limit_cfg(db);
}

void show_rate_limit_cfg()
{
    show_both(show_one_cfg);
}

void print_limit_command(int upDir, bool addition, const kxqos_ip_rl_t &limit)
{
    dump_ip_limit(addition ? command : deletion, direction_name(upDir), &limit);
}

void print_limit_command(int upDir, bool addition, const kxqos_vlan_rl_t &limit)
{
    dump_limit(addition ? command : deletion, direction_name(upDir), "vlan", limit.vid, limit.rate);
}

void print_limit_command(int upDir, bool addition, const kxqos_port_rl_t &limit)
{
    dump_limit(addition ? command : deletion, direction_name(upDir), "port", limit.port, limit.rate);
}

void print_mode_command(const kxqos_rl_t *pRule)
{
    char number[4];
    show_mode_cfg(pRule, mode_name(pRule, number));
}
