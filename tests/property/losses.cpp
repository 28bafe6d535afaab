#include "losses.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstring>
#include <regex>

static bool starts(const std::string &word, const std::string &begin)
{
    return word.starts_with(begin);
}

// Numbers

// A number as the tool reads it, in base 0: more than 32 bits, or blanks in front of it.
static bool number_loses(const std::string &text)
{
    size_t at = 0;
    if (!text.empty() && isspace(static_cast<unsigned char>(text[0])) != 0)
        return true;
    const bool negative = !text.empty() && text[0] == '-';
    if (negative || starts(text, "+"))
        at++;
    unsigned base = 10;
    if (text.size() > at && text[at] == '0') {
        base = text.size() > at + 1 && tolower(text[at + 1]) == 'x' ? 16 : 8;
        at += base == 16 ? 2 : 0;
    }
    const unsigned long long most = negative ? 1ULL << 31 : (1ULL << 32) - 1;
    unsigned long long value = 0;
    for (; at < text.size() && isxdigit(static_cast<unsigned char>(text[at])) != 0; at++) {
        const char digit = static_cast<char>(tolower(text[at]));
        value = value * base + static_cast<unsigned long long>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
        if (value > most)
            return true;
    }
    return false;
}

static bool number_value_loses(const std::string &text, bool narrow)
{
    const size_t tilde = text.find('~');
    const size_t mark = tilde != std::string::npos ? tilde : text.find('/');
    if (mark == std::string::npos)
        return number_loses(text);
    const std::string second = text.substr(mark + 1);
    if (number_loses(text.substr(0, mark)) || number_loses(second))
        return true;
    return narrow && tilde == std::string::npos && std::stoul(second, nullptr, 0) > 255;
}

// Addresses

static size_t last_mark(const std::string &text)
{
    const size_t tilde = text.rfind('~');
    return tilde != std::string::npos ? tilde : text.rfind('/');
}

static bool mac_loses(const std::string &text)
{
    static const std::string mac = "[0-9a-fA-F]{1,2}(:[0-9a-fA-F]{1,2}){5}";
    static const std::regex whole("^" + mac + "([/~]" + mac + ")?$");
    return !std::regex_match(text, whole);
}

// Nineteen characters are looked at.
static bool ipv4_part_loses(const std::string &text)
{
    return text.size() > 19 ||
           std::any_of(text.begin(), text.end(), [](char c) { return isspace(static_cast<unsigned char>(c)) != 0; });
}

static bool ipv4_loses(const std::string &text)
{
    const size_t mark = last_mark(text);
    if (ipv4_part_loses(text.substr(0, mark)))
        return true;
    if (mark == std::string::npos)
        return false;
    const std::string second = text.substr(mark + 1);
    if (second.empty())
        return text[mark] == '/';
    if (second.find('.') != std::string::npos)
        return ipv4_part_loses(second);
    return isspace(static_cast<unsigned char>(second[0])) != 0 || std::stol(second) == 0;
}

static bool ipv6_loses(const std::string &text)
{
    const size_t mark = last_mark(text);
    if (text.size() > 255)
        return true;
    if (mark == std::string::npos || text[mark] == '~')
        return false;
    const std::string second = text.substr(mark + 1);
    in6_addr mask = {};
    const bool empty = inet_pton(AF_INET6, second.c_str(), &mask) == 1 ? IN6_IS_ADDR_UNSPECIFIED(&mask) != 0
                                                                       : std::stoul(second, nullptr, 0) == 0;
    return (second[0] != ':' && number_loses(second)) || (empty && text.substr(0, mark) != "::");
}

// Rules

// Fields by as much of their keyword as counts, the longer first; what a value is: m, 4, 6, d a device, p a map of
// ports, b protocol bits, n a number of a byte, N a longer one; and the place.
struct Keyword {
    const char *begin;
    char kind;
    const char *place;
};

static const Keyword keywords[] = {
    {"protocols", 'b', "protocol"},
    {"edmac", 'm', "dmac"},
    {"esip6", '6', "sip"},
    {"esip", '4', "sip"},
    {"esport", 'N', "sport"},
    {"dip6", '6', "dip"},
    {"sip6", '6', "sip"},
    {"dip", '4', "dip"},
    {"sip", '4', "sip"},
    {"pri", 'n', "pri"},
    {"pre", 'n', "pre"},
    {"pro", 'n', "protocol"},
    {"rxp", 'p', "rxports"},
    {"txp", 'p', "txports"},
    {"wan", 'd', "wan"},
    {"dm", 'm', "dmac"},
    {"sm", 'm', "smac"},
    {"et", 'N', "ethertype"},
    {"tp", 'N', "tpid"},
    {"vi", 'N', "vid"},
    {"iv", 'N', "ivid"},
    {"ip", 'n', "ipri"},
    {"to", 'n', "tos"},
    {"ds", 'n', "dscp"},
    {"fl", 'N', "fl"},
    {"tc", 'n', "tc"},
    {"sp", 'N', "sport"},
    {"dp", 'N', "dport"},
    {"in", 'd', "indev"},
    {"ou", 'd', "outdev"},
};

static const Keyword *find_keyword(const std::string &word)
{
    for (const Keyword &keyword : keywords)
        if (starts(word, keyword.begin))
            return &keyword;
    return nullptr;
}

static bool value_loses(char kind, std::string text)
{
    if (kind == 'd')
        return false;
    if (starts(text, "!"))
        text.erase(0, 1);
    switch (kind) {
    case 'm':
        return mac_loses(text);
    case '4':
        return ipv4_loses(text);
    case '6':
        return ipv6_loses(text);
    case 'p':
        return text.find_first_of("/~") != std::string::npos || number_loses(text);
    case 'b':
        return text.find('~') != std::string::npos || number_value_loses(text, true);
    default:
        return number_value_loses(text, kind == 'n');
    }
}

static bool actions_lose(const Lines &words, size_t at)
{
    Lines given;
    for (; at < words.size(); at++) {
        if (std::count(given.begin(), given.end(), words[at]) != 0)
            return true;
        given.push_back(words[at]);
        if (words[at] != "dbgon" && words[at] != "bypass-kxnat" && words[at] != "sw-fwd" && number_loses(words[++at]))
            return true;
    }
    return false;
}

// Two fields in one place, of which the later leaves nothing else of the former.
static bool differ(const kxqos_rule_t &a, const kxqos_rule_t &b, size_t size, size_t at)
{
    const auto bytes = [&](const kxqos_entry_t &entry) { return reinterpret_cast<const char *>(&entry) + at; };
    return memcmp(bytes(a.field), bytes(b.field), size) != 0 || memcmp(bytes(a.mask), bytes(b.mask), size) != 0;
}

static bool fields_lose(const Lines &words, size_t at, const Alone &alone)
{
    struct Given {
        const Keyword *keyword;
        kxqos_rule_t rule;
    };
    std::vector<Given> given;
    for (; at < words.size() && words[at] != "action"; at += 2) {
        const Given now = {find_keyword(words[at]), alone(words[at], words[at + 1])};
        if (value_loses(now.keyword->kind, words[at + 1]))
            return true;
        for (const Given &before : given) {
            if (before.keyword == now.keyword)
                return true;
            if (strcmp(before.keyword->place, now.keyword->place) != 0)
                continue;
            const bool ipv4 = before.keyword->kind == '4' || now.keyword->kind == '4';
            // An IPv4 address is the first four bytes of its place.
            if (ipv4 ? differ(before.rule, now.rule, 4, strcmp(now.keyword->place, "sip") == 0 ? 24 : 40)
                     : differ(before.rule, now.rule, sizeof(kxqos_entry_t), 0))
                return true;
        }
        given.push_back(now);
    }
    return at < words.size() && actions_lose(words, at + 1);
}

static bool rule_loses(const Lines &words, const Alone &alone)
{
    size_t at = 2;
    if (number_loses(words[1]))
        return true;
    if (starts(words[2], "pro")) {
        if (isdigit(static_cast<unsigned char>(words[3][0])) != 0 && number_loses(words[3]))
            return true;
        at = 4;
    }
    if (starts(words[at], "ma"))
        return fields_lose(words, at + 1, alone);
    return starts(words[at], "ac") && actions_lose(words, at + 1);
}

static bool limit_loses(const Lines &words)
{
    if (starts(words[2], "mo"))
        return false;
    const std::string &key = words[4];
    if (number_loses(words[6]))
        return true;
    if (words[3] != "ip" && words[3] != "ip6")
        return number_loses(key);
    return key[0] == '!' || key.find('/') != std::string::npos ||
           (words[3] == "ip" ? ipv4_loses(key) : ipv6_loses(key));
}

bool loses_part(const Lines &words, const Alone &alone)
{
    if (starts(words[0], "ru"))
        return rule_loses(words, alone);
    if (starts(words[0], "bu"))
        return number_loses(words[1]) || (starts(words[2], "ra") && number_loses(words[3]));
    if (starts(words[0], "li"))
        return limit_loses(words);
    if (starts(words[0], "coun"))
        return number_loses(words[1]);
    if (starts(words[0], "res"))
        return isdigit(static_cast<unsigned char>(words[2][0])) != 0 && number_loses(words[2]);
    return false;
}
