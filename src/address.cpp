#include "address.h"
#include "output.h"

#include <arpa/inet.h>
#include <netinet/ether.h>
#include <stdlib.h>
#include <string.h>

// A word without its inverse mark, and the last mark that divides it.
struct divided_word {
    const char *text;
    const char *mark; // "~", else "/", else the terminator
    const char *end;  // the terminator
};

static divided_word divide(const char *word, int *inverseFlag)
{
    *inverseFlag = *word == '!';
    const char *text = word + *inverseFlag;
    const char *tilde = nullptr;
    const char *slash = nullptr;
    const char *end = text;
    for (; *end != '\0'; end++) {
        if (*end == '~')
            tilde = end;
        else if (*end == '/')
            slash = end;
    }
    const char *mark = tilde != nullptr ? tilde : slash;
    return {text, mark != nullptr ? mark : end, end};
}

// Copies the text from begin up to end, or as much of it as fits, and terminates it.
template <size_t Size> static void cut(char (&copy)[Size], const char *begin, const char *end)
{
    size_t length = static_cast<size_t>(end - begin);
    if (length > Size - 1)
        length = Size - 1;
    memcpy(copy, begin, length);
    copy[length] = '\0';
}

static int read_mac(const char *begin, const char *end, unsigned char *mac)
{
    // Longer than any address, so that what is cut off makes no difference.
    char copy[32];
    cut(copy, begin, end);
    const ether_addr *address = ether_aton(copy);
    if (address == nullptr)
        return -1;
    memcpy(mac, address->ether_addr_octet, sizeof address->ether_addr_octet);
    return 0;
}

int parse_mac_addr(const char *argStr, unsigned char *mac, unsigned char *mask, int *rangeMode, int *inverseFlag)
{
    constexpr int mac_size = 6;
    if (argStr == nullptr)
        return -1;
    const divided_word word = divide(argStr, inverseFlag);
    const char mark = *word.mark;
    if (mark == '\0')
        memset(mask, 0xFF, mac_size);
    else if (read_mac(word.mark + 1, word.end, mask) != 0)
        return -1;
    *rangeMode = mark == '~';
    if (read_mac(word.text, word.mark, mac) != 0)
        return -1;
    if (*rangeMode == 0)
        for (int i = 0; i < mac_size; i++)
            mac[i] &= mask[i];
    return 0;
}

// One piece of a dotted quad; an empty one is 0.
static int read_octet(const char *piece, u32 *address)
{
    char *stop = nullptr;
    const unsigned long octet = static_cast<unsigned long>(strtol(piece, &stop, 10));
    if (*stop != '\0' || octet > 255)
        return -1;
    *address = *address << 8 | static_cast<u32>(octet);
    return 0;
}

static int read_ipv4(const char *begin, const char *end, u32 *ipaddr)
{
    char copy[20];
    cut(copy, begin, end);
    char *piece = copy;
    u32 address = 0;
    for (int i = 0; i < 3; i++) {
        char *dot = strchr(piece, '.');
        if (dot == nullptr)
            return -1;
        *dot = '\0';
        if (read_octet(piece, &address) != 0)
            return -1;
        piece = dot + 1;
    }
    if (read_octet(piece, &address) != 0)
        return -1;
    *ipaddr = address;
    return 0;
}

int undot_ip(const char *ip, u32 *ipaddr)
{
    return read_ipv4(ip, ip + strlen(ip), ipaddr);
}

int ip_mask(const char *mask, u32 *ipMask)
{
    if (undot_ip(mask, ipMask) == 0)
        return 0;
    char *stop = nullptr;
    const unsigned long length = static_cast<unsigned long>(strtol(mask, &stop, 10));
    if (*stop != '\0' || length > 32)
        return -1;
    // Length 0 is all ones like 32, and so is no text at all: meant.
    *ipMask = length == 0 ? 0xFFFFFFFF : 0xFFFFFFFF << (32 - length);
    return 0;
}

int parse_ip_addr(const char *argStr, u32 *ipAddr, u32 *ipMask, int *rangeMode, int *inverseFlag)
{
    if (argStr == nullptr)
        return -1;
    const divided_word word = divide(argStr, inverseFlag);
    const char mark = *word.mark;
    // The end of a range is read as a mask is, so it may be a prefix length: meant.
    if (mark == '\0')
        *ipMask = 0xFFFFFFFF;
    else if (ip_mask(word.mark + 1, ipMask) != 0)
        return -1;
    if (read_ipv4(word.text, word.mark, ipAddr) != 0)
        return -1;
    if (mark == '~') {
        if (*ipAddr > *ipMask)
            return -1;
        *rangeMode = 1;
        return 0;
    }
    *ipAddr &= *ipMask;
    *rangeMode = 0;
    return 0;
}

static int numeric_to_addr(const char *num, in6_addr *address)
{
    return inet_pton(AF_INET6, num, address) == 1 ? 0 : -1;
}

in6_addr parse_ip6_mask(const char *mask)
{
    in6_addr bits = {};
    if (numeric_to_addr(mask, &bits) == 0)
        return bits;
    unsigned int length = 0;
    // A bad mask is reported and counts as length 0, and no newline follows the report: both meant.
    if (string_to_number(mask, 0, 128, &length) != 0)
        print("Invalid IPv6 Mask '%s' specified", mask);
    bits = {};
    memset(bits.s6_addr, 0xFF, length / 8);
    if (length % 8 != 0)
        bits.s6_addr[length / 8] = static_cast<u8>(0xFF << (8 - length % 8));
    return bits;
}

static int parse_ipv6_range(const char *begin, const char *end, in6_addr *addr, in6_addr *msk)
{
    constexpr int fixed = 14; // only the last 16 bits may vary
    if (numeric_to_addr(begin, addr) != 0 || numeric_to_addr(end, msk) != 0) {
        // A bad end is reported with the begin text too: meant.
        print("Invalid IPv6 Address '%s' specified \n", begin);
        return -1;
    }
    if (memcmp(addr->s6_addr, msk->s6_addr, fixed) != 0 ||
        memcmp(addr->s6_addr + fixed, msk->s6_addr + fixed, sizeof addr->s6_addr - fixed) > 0) {
        print_line("Invalid IPv6 Address range ");
        return -1;
    }
    return 0;
}

static int parse_ipv6_masked(const char *text, const char *maskText, in6_addr *addr, in6_addr *msk)
{
    if (maskText != nullptr)
        *msk = parse_ip6_mask(maskText);
    else
        memset(msk, 0xFF, sizeof *msk);
    // With an empty mask the address does not matter, not even a bad one.
    if (IN6_IS_ADDR_UNSPECIFIED(msk))
        text = "::";
    if (numeric_to_addr(text, addr) != 0) {
        print("Invalid IPv6 Address '%s' specified", text); // no newline: meant
        return -1;
    }
    for (size_t i = 0; i < sizeof addr->s6_addr; i++)
        addr->s6_addr[i] &= msk->s6_addr[i];
    return 0;
}

int parse_ipv6_addr(const char *address, in6_addr *addr, in6_addr *msk, int *rangeMode, int *inverseFlag)
{
    if (address == nullptr)
        return -1;
    *inverseFlag = *address == '!';
    const char *text = address + *inverseFlag;
    char copy[256];
    cut(copy, text, text + strlen(text));

    if (char *tilde = strrchr(copy, '~')) {
        *tilde = '\0';
        if (parse_ipv6_range(copy, tilde + 1, addr, msk) != 0)
            return -1;
        *rangeMode = 1;
        return 0;
    }
    char *slash = strrchr(copy, '/');
    if (slash != nullptr)
        *slash++ = '\0';
    if (parse_ipv6_masked(copy, slash, addr, msk) != 0)
        return -1;
    *rangeMode = 0;
    return 0;
}

static char *cleared(char *buf, int bufLen)
{
    return static_cast<char *>(memset(buf, 0, static_cast<size_t>(bufLen)));
}

char *mac2str(const unsigned char *mac, char *buf, int bufLen)
{
    char *out = cleared(buf, bufLen);
    for (int i = 0; i < 6; i++) {
        if (i != 0)
            *out++ = ':';
        out = put_hex(out, mac[i], 2);
    }
    return buf;
}

char *ip2str(u32 ipAddr, char *buf, int bufLen)
{
    char *out = cleared(buf, bufLen);
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift != 24)
            *out++ = '.';
        out = put_decimal(out, ipAddr >> shift & 0xFF);
    }
    return buf;
}

char *ip62str(const in6_addr *addrp, char *buf, int bufLen)
{
    inet_ntop(AF_INET6, addrp, cleared(buf, bufLen), static_cast<socklen_t>(bufLen));
    return buf;
}

int ip6mask2cidr(const in6_addr *k)
{
    int ones = 0;
    bool zeroSeen = false;
    for (int i = 0; i < 128; i++) {
        const bool one = (k->s6_addr[i / 8] >> (7 - i % 8) & 1) != 0;
        if (one && zeroSeen)
            return -1;
        zeroSeen |= !one;
        ones += one;
    }
    return ones;
}

char *ip6mask2str(const in6_addr *msk, char *buf, int bufLen)
{
    cleared(buf, bufLen);
    const int length = ip6mask2cidr(msk);
    if (length == 128)
        return buf; // a full mask is shown as nothing: meant
    buf[0] = '/';
    if (length >= 0)
        put_decimal(buf + 1, static_cast<u32>(length));
    else
        ip62str(msk, buf + 1, bufLen - 1);
    return buf;
}
