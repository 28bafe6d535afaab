#include "random_text.h"

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstring>
#include <set>
#include <sstream>

static const char *const profiles[] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
static const int rule_counts[] = {64, 512, 512, 64, 64};
static const char *const modes[] = {"disable", "ip", "vlan", "port"};

// Values

static std::string number(uint64_t value, Random *random)
{
    char text[32];
    snprintf(text, sizeof text, random->once(4) ? "0x%llx" : "%llu", static_cast<unsigned long long>(value));
    return text;
}

// Few different values, so that two rules are equal now and then and ranges overlap.
static uint64_t some_number(uint64_t most, Random *random)
{
    return random->once(3) ? most - random->upTo(std::min<uint64_t>(most, 2)) : random->upTo(most);
}

static std::string number_value(uint64_t most, Random *random)
{
    const uint64_t low = some_number(most, random);
    switch (random->upTo(6)) {
    case 0:
        return number(low, random) + "~" + number(low + random->upTo(most - low), random);
    case 1:
        return number(low, random) + "~";
    case 2:
        return "~" + number(low, random);
    case 3:
        return number(low, random) + "/" + number(random->upTo(most > 255 ? 65535 : 255), random);
    default:
        return number(low, random);
    }
}

static std::string mac(Random *random)
{
    static const char *const macs[] = {"00:11:22:33:44:55", "ff:FF:ff:ff:ff:ff", "0:1:2:3:4:5", "02:00:00:aB:Cd:eF"};
    return random->pick(macs);
}

static std::string mac_value(Random *random)
{
    const std::string first = mac(random);
    return random->once(2) ? first : first + (random->once(2) ? "/" : "~") + mac(random);
}

static std::string ipv4(uint32_t address)
{
    char text[32];
    snprintf(text, sizeof text, "%u.%u.%u.%u", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF,
             address & 0xFF);
    return text;
}

static std::string ipv4_value(Random *random)
{
    const uint32_t low = 0x0A000000U + static_cast<uint32_t>(random->upTo(1000));
    switch (random->upTo(4)) {
    case 0:
        return ipv4(low) + "~" + ipv4(low + static_cast<uint32_t>(random->upTo(100)));
    case 1:
        return ipv4(low) + "/" + std::to_string(1 + random->upTo(31)); // 0 would count as 32
    case 2:
        return ipv4(low) + "/" + ipv4(0xFFFF0000U | static_cast<uint32_t>(random->upTo(0xFFFF)));
    default:
        return ipv4(low);
    }
}

static std::string ipv6(uint64_t last, Random *random)
{
    static const char *const starts[] = {"2001:db8::", "fe80::1:2:3:", "::ffff:0:", "2001:DB8:0:0:0:0:0:"};
    char text[16];
    snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(last));
    return random->pick(starts) + std::string(text);
}

static std::string ipv6_value(Random *random)
{
    const uint64_t low = random->upTo(0xFFF0);
    char text[64];
    switch (random->upTo(4)) {
    case 0:
        snprintf(text, sizeof text, "2001:db8::%" PRIx64 "~2001:db8::%" PRIx64, low, low + random->upTo(15));
        return text;
    case 1:
        return random->once(30) ? "::/0" : ipv6(low, random) + "/" + std::to_string(1 + random->upTo(127));
    case 2:
        return ipv6(low, random) + "/ffff::ff00:" + std::to_string(random->upTo(9));
    default:
        return ipv6(low, random);
    }
}

static std::string device(Random *random)
{
    static const char *const names[] = {"eth0", "eth0.5", "a", "br-lan_15_chars", "wan~0/1", "\xC3\xA4", "match"};
    return random->pick(names);
}

struct Field {
    const char *keyword;
    char kind; // of value: m, 4, 6, d, n for a number, p for a map of ports, b for protocol bits
    uint64_t most;
    bool egress;
    const char *place = nullptr; // the field whose place it shares, or that it is by another keyword
};

static const Field fields[] = {
    {"dmac", 'm', 0, false},
    {"smac", 'm', 0, false},
    {"ethertype", 'n', 65535, false},
    {"tpid", 'n', 65535, false},
    {"vid", 'n', 4095, false},
    {"pri", 'n', 7, false},
    {"ivid", 'n', 4095, false},
    {"ipri", 'n', 7, false},
    {"dip", '4', 0, false},
    {"sip", '4', 0, false},
    {"dip6", '6', 0, false, "dip"},
    {"sip6", '6', 0, false, "sip"},
    {"tos", 'n', 255, false},
    {"dscp", 'n', 63, false},
    {"pre", 'n', 7, false},
    {"fl", 'n', 0xFFFFF, false},
    {"tc", 'n', 255, false},
    {"protocol", 'n', 255, false},
    {"sport", 'n', 65535, false},
    {"dport", 'n', 65535, false},
    {"rxports", 'p', 0xFFFFFFFF, false},
    {"txports", 'p', 0xFF, false},
    {"indev", 'd', 0, false},
    {"invirtdev", 'd', 0, false, "indev"},
    {"outdev", 'd', 0, true},
    {"wan", 'd', 0, true},
    {"edmac", 'm', 0, true, "dmac"},
    {"esip", '4', 0, true, "sip"},
    {"esip6", '6', 0, true, "sip"},
    {"esport", 'n', 65535, true, "sport"},
    {"protocols", 'b', 255, false, "protocol"},
};

static std::string value_of(const Field &field, Random *random)
{
    const std::string inverse = random->once(5) ? "!" : "";
    switch (field.kind) {
    case 'm':
        return inverse + mac_value(random);
    case '4':
        return inverse + ipv4_value(random);
    case '6':
        return inverse + ipv6_value(random);
    case 'd':
        return inverse.empty() ? device(random) : "!eth1";
    case 'p':
        return inverse + number(some_number(field.most, random), random);
    case 'b':
        return inverse + number(random->upTo(255), random); // no line shows a mask
    default:
        return inverse + number_value(field.most, random);
    }
}

std::string random_value(Random *random)
{
    return value_of(random->pick(fields), random);
}

std::pair<std::string, std::string> random_match(Random *random)
{
    static const char *const names[] = {"",       "!",      "!!eth0", "x vid 7", "a\tb",
                                        "a\nb",   "!a b",   "a b\n!", "\r",      "name_15_letters",
                                        "eth0\r", "action", "!name",  "# \x7F ", "x action dbgon"};
    static const char *const often[] = {"sip", "sip6", "esip", "esip6", "dmac", "edmac", "protocols", "indev"};
    const char *sought = random->pick(often);
    const bool any = random->once(2);
    const Field *field = any ? &random->pick(fields)
                             : std::find_if(std::begin(fields), std::end(fields),
                                            [&](const Field &row) { return strcmp(row.keyword, sought) == 0; });
    if (field->kind == 'd' && random->once(2))
        return {field->keyword, random->pick(names)};
    if (field->kind == 'b' && random->once(2))
        return {field->keyword, number_value(field->most, random)};
    return {field->keyword, value_of(*field, random)};
}

// Rules

struct Action {
    const char *keyword;
    uint32_t least, most; // most 0: no value
};

static const Action actions[] = {
    {"queue", 0, 7},     {"rate-bucket", 1, 64}, {"8021p", 0, 7},        {"dscp", 0, 255},
    {"counter", 1, 222}, {"dbgon", 0, 0},        {"bypass-kxnat", 0, 0}, {"sw-fwd", 0, 0},
};

static std::string random_actions(bool egress, Random *random)
{
    std::string text;
    std::set<std::string> given;
    for (uint64_t left = 1 + random->upTo(2); left > 0; left--) {
        const Action &action = random->pick(actions);
        if ((egress && strcmp(action.keyword, "dbgon") == 0) || !given.insert(action.keyword).second)
            continue;
        text += std::string(" ") + action.keyword;
        if (action.most != 0)
            text += " " + number(action.least + random->upTo(action.most - action.least), random);
    }
    return text.empty() ? " queue 0" : text;
}

std::string random_rule(Random *random)
{
    if (random->once(6))
        return "action" + random_actions(false, random);
    std::string text = "match";
    bool egress = false;
    std::map<std::string, std::pair<const Field *, std::string>>
        places; // by the field that has each first, with its value
    std::set<const Field *> given;
    for (uint64_t left = 1 + random->upTo(random->once(8) ? 12 : 3); left > 0; left--) {
        const Field &field = random->pick(fields);
        const std::string place = field.place != nullptr ? field.place : field.keyword;
        const auto &[first, value] = places.try_emplace(place, &field, value_of(field, random)).first->second;
        // Two can have one place when they have the same value in it.
        if ((first != &field && (first->kind != field.kind || field.kind == 'd')) || !given.insert(&field).second)
            continue;
        egress = egress || field.egress;
        text += std::string(" ") + field.keyword + " " + value;
    }
    return text + " action" + random_actions(egress, random);
}

// Limits: each key in one spelling, so that none is there twice.
static std::string random_key(Random *random)
{
    const auto n = static_cast<uint32_t>(random->upTo(30));
    switch (random->upTo(4)) {
    case 0:
        return "ip " + ipv4(0x0A000000 + n) + "~" + ipv4(0x0A000000 + n + 5);
    case 1:
        return "ip " + ipv4(0xC0A80000 + n);
    case 2:
        return "ip6 2001:db8::" + std::to_string(n) + "~2001:db8::" + std::to_string(n + 100);
    case 3:
        return "vlan " + std::to_string(1 + n);
    default:
        return "port " + std::to_string(n);
    }
}

static bool has_room(const std::vector<Limit> &limits, const std::string &key)
{
    const auto table = [](const std::string &text) { return text.substr(0, 2); };
    const auto same = [&](const Limit &limit) { return table(limit.key) == table(key); };
    const auto held = std::count_if(limits.begin(), limits.end(), same);
    const auto twin = [&](const Limit &limit) { return limit.key == key; };
    return held < (table(key) == "ip" ? 24 : 16) && std::none_of(limits.begin(), limits.end(), twin);
}

static void add_limit(std::vector<Limit> *limits, Random *random)
{
    const std::string key = random_key(random);
    if (has_room(*limits, key))
        limits->insert(limits->begin() + static_cast<long>(random->upTo(limits->size())),
                       {key, static_cast<uint32_t>(random->once(9) ? 0xFFFFFFFF : random->upTo(3) * 64)});
}

static void add_rule(Setup *setup, Random *random)
{
    const auto profile = static_cast<int>(random->upTo(4));
    const auto most = static_cast<uint64_t>(random->once(3) ? rule_counts[profile] : 6);
    const auto id = static_cast<int>(1 + random->upTo(most - 1));
    setup->rules[{profile, id}] = random_rule(random);
}

static uint32_t random_rate(Random *random)
{
    return static_cast<uint32_t>(random->once(9) ? 10485760 : random->upTo(300));
}

static const char *const categories[] = {"info",  "warnning", "error",        "packet",    "pre-match",
                                         "match", "action",   "fineclassifi", "ratelimit", "all"};

Setup random_setup(Random *random)
{
    Setup setup;
    for (uint64_t left = random->upTo(random->once(12) ? 40 : 5); left > 0; left--)
        add_rule(&setup, random);
    for (uint64_t left = random->upTo(random->once(12) ? 64 : 4); left > 0; left--)
        setup.buckets[static_cast<int>(1 + random->upTo(random->once(3) ? 63 : 7))] = random_rate(random);
    for (int upDir = 0; upDir < 2; upDir++) {
        setup.modes[upDir] = static_cast<int>(random->upTo(4)) - 1;
        for (uint64_t left = random->upTo(random->once(12) ? 80 : 6); left > 0; left--)
            add_limit(&setup.limits[upDir], random);
    }
    for (int &state : setup.switches)
        state = static_cast<int>(random->upTo(2)) - 1;
    for (uint64_t left = random->upTo(2); left > 0; left--)
        setup.counters[static_cast<int>(1 + random->upTo(random->once(2) ? 221 : 3))] = random->once(2);
    const bool all = random->once(2); // is every category, so it agrees with the others
    for (uint64_t left = random->upTo(2); left > 0; left--) {
        const std::string category = random->pick(categories);
        setup.debug[category] = random->once(2);
    }
    if (setup.debug.contains("all"))
        for (auto &[category, on] : setup.debug)
            on = all;
    setup.refresh = random->once(4) ? static_cast<int>(random->upTo(1)) : -1;
    return setup;
}

template <typename Map> static void drop_one(Map *map, Random *random)
{
    if (!map->empty())
        map->erase(std::next(map->begin(), static_cast<long>(random->upTo(map->size() - 1))));
}

static void change_limits(std::vector<Limit> *limits, Random *random)
{
    if (limits->empty() || random->once(4)) {
        add_limit(limits, random);
        return;
    }
    const auto at = limits->begin() + static_cast<long>(random->upTo(limits->size() - 1));
    if (random->once(3))
        limits->erase(at);
    else if (random->once(2))
        at->rate++;
    else
        std::swap(*at, limits->front());
}

static std::vector<std::string> split(const std::string &text)
{
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// Another value of a match field that differs in one thing: the inverse, the mask, or a mask in place of a range.
static void twist_value(const std::string &keyword, std::string *value, Random *random)
{
    const size_t mark = value->find('~');
    const bool range = mark != std::string::npos && mark > 1 && mark + 1 < value->size() && isdigit((*value)[mark - 1]);
    const size_t slash = value->find('/');
    const bool masked = slash != std::string::npos && isdigit(value->back()) && keyword[0] != 'w';
    if (masked && !random->once(4))
        value->back() = value->back() == '0'     ? '1'
                        : value->ends_with("/1") ? '2'
                                                 : static_cast<char>(value->back() - 1);
    else if (range && keyword != "fl" && keyword != "rxports" && random->once(2))
        (*value)[mark] = '/';
    else if (value->front() == '!')
        value->erase(0, 1);
    else if (value->size() < 15)
        value->insert(0, "!");
}

// One more or one less, and still in its range.
static void twist_number(std::string *number)
{
    const unsigned long value = std::stoul(*number, nullptr, 0);
    *number = std::to_string(value > 1 ? value - 1 : value + 1);
}

static void twist_rule(std::string *rule, Random *random)
{
    std::vector<std::string> words = split(*rule);
    const auto action = static_cast<size_t>(std::find(words.begin() + 1, words.end(), "action") - words.begin());
    if (words[0] == "match" && action > 2 && action < words.size() && random->once(2)) {
        const size_t at = 2 * (1 + random->upTo((action - 1) / 2 - 1));
        if (std::count(words.begin(), words.end(), words[at]) == 1) // what shares its place stays the same
            twist_value(words[at - 1], &words[at], random);
    } else if (isdigit(words.back()[0])) {
        twist_number(&words.back());
    } else if (std::find(words.begin(), words.end(), "sw-fwd") == words.end()) {
        words.push_back("sw-fwd");
    }
    rule->clear();
    for (const std::string &word : words)
        *rule += (rule->empty() ? "" : " ") + word;
}

static std::string *any_rule(Setup *setup, Random *random)
{
    if (setup->rules.empty())
        return nullptr;
    return &std::next(setup->rules.begin(), static_cast<long>(random->upTo(setup->rules.size() - 1)))->second;
}

static void change_one_thing(Setup *setup, Random *random)
{
    switch (random->upTo(15)) {
    case 0:
        return drop_one(&setup->rules, random);
    case 1:
        if (std::string *rule = any_rule(setup, random))
            *rule = random_rule(random);
        return;
    case 2:
        return drop_one(&setup->buckets, random);
    case 3:
        setup->buckets[static_cast<int>(1 + random->upTo(7))] = random_rate(random);
        return;
    case 4:
    case 5:
        return change_limits(&setup->limits[random->upTo(1)], random);
    case 6:
        setup->modes[random->upTo(1)] = static_cast<int>(random->upTo(4)) - 1;
        return;
    case 7:
        setup->switches[random->upTo(2)] = static_cast<int>(random->upTo(2)) - 1;
        return;
    case 8:
        setup->counters[static_cast<int>(1 + random->upTo(3))] = random->once(2);
        return;
    case 9:
        return add_rule(setup, random);
    default:
        if (std::string *rule = any_rule(setup, random))
            twist_rule(rule, random);
        return;
    }
}

Setup near_setup(const Setup &setup, Random *random)
{
    Setup near = setup;
    for (uint64_t left = 1 + random->upTo(2); left > 0; left--)
        change_one_thing(&near, random);
    std::string *rule = any_rule(&near, random);
    if (rule != nullptr && random->once(2))
        twist_rule(rule, random);
    return near;
}

// Lines

// Numbers that stand alone may be hexadecimal, but for a profile's; and blanks may be many.
static std::string respelt(const std::string &line, Random *random)
{
    std::string text;
    for (size_t at = 0; at < line.size();) {
        const size_t end = std::min(line.find(' ', at), line.size());
        std::string word = line.substr(at, end - at);
        const size_t last = text.find_last_not_of(" \t");
        const std::string_view before(text.data(), last == std::string::npos ? 0 : last + 1);
        const bool profile = before.ends_with("profile") || before.ends_with("pro");
        if (!word.empty() && !profile && strspn(word.c_str(), "0123456789") == word.size() && random->once(9))
            word = number(std::stoul(word, nullptr, 0), random);
        text += word;
        if (end < line.size())
            text += random->once(30) ? "\t  " : " ";
        at = end + 1;
    }
    return text;
}

static std::string rule_line(int profile, int id, const std::string &rest, Random *random)
{
    std::string text = random->once(9) ? "ru " : "rule ";
    text += std::to_string(id);
    if (profile != 0 || random->once(2)) {
        text += random->once(9) ? " pro " : " profile ";
        text += profile != 0 && random->once(6) ? std::to_string(profile) : profiles[profile];
    }
    return text + " " + rest;
}

using Lines = std::vector<std::string>;

static Lines limit_lines(const Setup &setup, Random *random)
{
    Lines lines;
    for (int upDir = 1; upDir >= 0; upDir--) {
        const std::string start = upDir != 0 ? "limit up " : "limit down ";
        const bool late = random->once(2);
        const std::string mode = setup.modes[upDir] < 0 ? "" : start + "mode " + modes[setup.modes[upDir]];
        if (!mode.empty() && !late)
            lines.push_back(mode);
        for (const Limit &limit : setup.limits[upDir])
            lines.push_back(start + "add " + limit.key + " rate " + std::to_string(limit.rate));
        if (!mode.empty() && late)
            lines.push_back(mode);
    }
    return lines;
}

static Lines switch_lines(const Setup &setup, int first, int last)
{
    static const char *const names[] = {"qos", "puredscpremark", "fine-classifi"};
    Lines lines;
    for (int i = first; i <= last; i++)
        if (setup.switches[i] >= 0)
            lines.push_back(std::string(names[i]) + (setup.switches[i] != 0 ? " enable" : " disable"));
    return lines;
}

static Lines single_lines(const Setup &setup)
{
    Lines lines;
    for (const auto &[id, on] : setup.counters)
        lines.push_back("counter " + std::to_string(id) + (on ? " enable" : " disable"));
    for (const auto &[category, on] : setup.debug)
        lines.push_back("debug " + category + (on ? " on" : " off"));
    if (setup.refresh >= 0)
        lines.push_back(setup.refresh != 0 ? "refresh enable" : "refresh disable");
    return lines;
}

// Five parts between six marks, as the display has them; what is governed one by one stands in any of them.
static std::vector<Lines> parts_of(const Setup &setup, Random *random)
{
    std::vector<Lines> parts(5);
    parts[0] = switch_lines(setup, 0, 0);
    for (const auto &[id, rest] : setup.rules)
        parts[1].push_back(rule_line(id.first, id.second, rest, random));
    parts[2] = switch_lines(setup, 1, 2);
    for (const auto &[id, rate] : setup.buckets)
        parts[3].push_back("bucket " + std::to_string(id) + " rate " + std::to_string(rate));
    parts[4] = limit_lines(setup, random);
    for (Lines &part : parts)
        for (std::string &line : part)
            line = respelt(line, random);
    return parts;
}

// All parts into one, in any order, but each in its own.
static Lines mixed(std::vector<Lines> parts, Random *random)
{
    Lines lines;
    std::vector<size_t> next(parts.size());
    for (;;) {
        std::vector<size_t> left;
        for (size_t i = 0; i < parts.size(); i++)
            if (next[i] < parts[i].size())
                left.push_back(i);
        if (left.empty())
            return lines;
        const size_t part = random->pick(left);
        lines.push_back(parts[part][next[part]++]);
        if (random->once(40))
            lines.push_back(lines.back());
    }
}

Lines lines_of(const Setup &setup, Random *random)
{
    std::vector<Lines> parts = parts_of(setup, random);
    const Lines singles = single_lines(setup);
    Lines lines;
    if (random->once(3)) {
        Lines &part = parts[random->once(2) ? 0 : random->upTo(parts.size() - 1)]; // they are saved in the first
        part.insert(part.begin(), singles.begin(), singles.end());
        for (const Lines &part : parts) {
            lines.push_back("!");
            lines.insert(lines.end(), part.begin(), part.end());
        }
        lines.push_back("!");
    } else {
        parts.push_back(singles);
        lines = mixed(parts, random);
    }
    if (std::all_of(lines.begin(), lines.end(), [](const std::string &line) { return line == "!"; }))
        lines.insert(lines.empty() ? lines.end() : std::next(lines.begin()),
                     "debug info off"); // a file names something
    if (random->once(4))
        lines.insert(lines.begin(), "# a comment");
    if (random->once(4))
        lines.back() += "\r";
    return lines;
}
