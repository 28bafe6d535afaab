#include "address.h"
#include "loss.h"
#include "output.h"
#include "words.h"

#include <arpa/inet.h>
#include <string.h>

static constexpr int mac_size = 6;

// A text, and the last mark that divides it.
struct divided_word {
    const char *text;
    const char *mark; // "~", else "/", else the terminator
    const char *end;  // the terminator
};

static divided_word divide(const char *text)
{
    const char *tilde = nullptr;
    const char *slash = nullptr;
    const char *end = text;
    for (;; end++) {
        if (*end > '/' && *end < '~') // most characters
            continue;
        if (*end == '\0')
            break;
        if (*end == '~')
            tilde = end;
        else if (*end == '/')
            slash = end;
    }
    const char *mark = tilde != nullptr ? tilde : slash;
    return {text, mark != nullptr ? mark : end, end};
}

static void lose_end()
{
    lose("the end of the address");
}

// Copies the text from begin up to end or its terminator, or as much of it as fits, and terminates it. Returns whether
// all of it did. Inline: that costs nothing where nobody asks.
[[gnu::always_inline]] static inline bool cut(char *copy, int size, const char *begin, const char *end)
{
    for (; size > 1 && begin != end && *begin != '\0'; size--)
        *copy++ = *begin++;
    *copy = '\0';
    return begin == end || *begin == '\0';
}

// Six groups of one or two digits, as glibc's ether_aton reads them; other libraries' take other words.
// kept: anything may follow two digits at the end, and a blank and anything one digit, because glibc's took that
static int read_mac(const char *text, const char *end, unsigned char *mac)
{
    unsigned char bytes[mac_size];
    for (int i = 0;; text++) {
        u32 number = hex_digit(*text++);
        if (number > 15)
            return -1;
        const u32 second = hex_digit(*text);
        const bool two = second <= 15;
        if (two) {
            number = number << 4 | second;
            text++;
        }
        bytes[i++] = static_cast<unsigned char>(number);
        if (i == mac_size) {
            if (!two && text != end && !is_blank(*text))
                return -1;
            if (text != end)
                lose_end();
            memcpy(mac, bytes, mac_size);
            return 0;
        }
        if (*text != ':')
            return -1;
    }
}

int parse_mac_addr(const char *argStr, unsigned char *mac, unsigned char *mask, int *rangeMode, int *inverseFlag)
{
    if (argStr == nullptr)
        return -1;
    *inverseFlag = *argStr == '!';
    const divided_word word = divide(argStr + *inverseFlag);
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

// An empty piece is 0.
static int read_ipv4(const char *begin, const char *end, u32 *ipaddr)
{
    char copy[20];
    const bool whole = cut(copy, sizeof copy, begin, end);
    const char *piece = copy;
    u32 address = 0;
    for (int i = 0; i < 4; i++) {
        const char *stop = nullptr;
        const unsigned long long octet = read_number(piece, &stop, 10);
        if (*stop != (i < 3 ? '.' : '\0') || octet > 255)
            return -1;
        address = address << 8 | static_cast<u32>(octet);
        piece = stop + 1;
    }
    if (!whole)
        lose_end();
    *ipaddr = address;
    return 0;
}

int undot_ip(const char *ip, u32 *ipaddr)
{
    return read_ipv4(ip, nullptr, ipaddr);
}

int ip_mask(const char *mask, u32 *ipMask)
{
    if (undot_ip(mask, ipMask) == 0)
        return 0;
    const char *stop = nullptr;
    const unsigned long long length = read_number(mask, &stop, 10);
    if (*stop != '\0' || length > 32)
        return -1;
    // kept: length 0 is all ones like 32, and so is no text at all
    if (length == 0 && *mask != '\0')
        lose("the prefix length 0");
    *ipMask = length == 0 ? 0xFFFFFFFF : 0xFFFFFFFF << (32 - length);
    return 0;
}

int parse_ip_addr(const char *argStr, u32 *ipAddr, u32 *ipMask, int *rangeMode, int *inverseFlag)
{
    if (argStr == nullptr)
        return -1;
    *inverseFlag = *argStr == '!';
    const divided_word word = divide(argStr + *inverseFlag);
    const char mark = *word.mark;
    if (mark == '/' && word.mark + 1 == word.end)
        lose("the mask");
    // kept: the end of a range is read as a mask is, so it may be a prefix length
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
    // kept: a bad mask is reported and counts as length 0; no newline follows the report
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
        // kept: a bad end is reported with the begin text too
        print("Invalid IPv6 Address '%s' specified \n", begin);
        return -1;
    }
    if (memcmp(addr, msk, fixed) != 0 || memcmp(addr, msk, sizeof *addr) > 0) {
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
    if (IN6_IS_ADDR_UNSPECIFIED(msk)) {
        if (!equals(text, "::"))
            lose("the address");
        text = "::";
    }
    if (numeric_to_addr(text, addr) != 0) {
        print("Invalid IPv6 Address '%s' specified", text); // kept: no newline
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
    char copy[256];
    if (!cut(copy, sizeof copy, address + *inverseFlag, nullptr))
        lose_end();

    const divided_word word = divide(copy);
    const char mark = *word.mark;
    copy[word.mark - copy] = '\0';
    const char *second = mark != '\0' ? word.mark + 1 : nullptr;
    const bool range = mark == '~';
    if ((range ? parse_ipv6_range(copy, second, addr, msk) : parse_ipv6_masked(copy, second, addr, msk)) != 0)
        return -1;
    *rangeMode = range;
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

static char *put_quad(char *out, u32 address)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        if (shift != 24)
            *out++ = '.';
        out = put_decimal(out, address >> shift & 0xFF);
    }
    return out;
}

char *ip2str(u32 ipAddr, char *buf, int bufLen)
{
    put_quad(cleared(buf, bufLen), ipAddr);
    return buf;
}

// As glibc's inet_ntop does it; other libraries shorten other zeros.
char *ip62str(const in6_addr *addrp, char *buf, int bufLen)
{
    constexpr int groups = 8;
    u32 group[groups];
    // The longest run of zeros, of several the first. A single zero is not a run.
    int begin = groups;
    int longest = 1;
    int zeros = 0;
    for (int i = 0; i < groups; i++) {
        group[i] = static_cast<u32>(addrp->s6_addr[2 * i] << 8 | addrp->s6_addr[2 * i + 1]);
        zeros = group[i] == 0 ? zeros + 1 : 0;
        if (zeros > longest) {
            longest = zeros;
            begin = i + 1 - zeros;
        }
    }
    char *out = cleared(buf, bufLen);
    for (int i = 0; i < groups; i++) {
        if (i == begin) {
            *out++ = ':';
            i += longest;
        }
        if (i != 0)
            *out++ = ':';
        // An IPv4 address within one of IPv6, compatible or mapped, is shown as such.
        if (i == 6 && begin == 0 && (longest == 6 || (longest == 5 && group[5] == 0xFFFF))) {
            put_quad(out, group[6] << 16 | group[7]);
            break;
        }
        if (i < groups)
            out = put_hex(out, group[i], 1);
    }
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
        return buf; // kept: a full mask is shown as nothing
    buf[0] = '/';
    if (length >= 0)
        put_decimal(buf + 1, static_cast<u32>(length));
    else
        ip62str(msk, buf + 1, bufLen - 1);
    return buf;
}
