#include "oracle.h"

#include <arpa/inet.h>
#include <netinet/ether.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace oracle {

std::string printed;

// By the names that have no binary numbers: newer headers put others in the place of strtoul and strtoull.
extern "C" unsigned long plain_strtoul(const char *text, char **stop, int base) noexcept __asm__("strtoul");
extern "C" unsigned long long plain_strtoull(const char *text, char **stop, int base) noexcept __asm__("strtoull");

// A private copy of a word without its inverse mark.
struct copy_of {
    char *text;
    copy_of(const char *word, int *inverse)
    {
        *inverse = word[0] == '!' ? 1 : 0;
        text = strdup(word[0] == '!' ? word + 1 : word);
    }
    ~copy_of()
    {
        free(text);
    }
    copy_of(const copy_of &) = delete;
    copy_of &operator=(const copy_of &) = delete;
};

// Cuts the text at the mark and returns what stands after it, or null.
static char *cut_at(char *mark)
{
    if (mark == nullptr)
        return nullptr;
    *mark = '\0';
    return mark + 1;
}

int parse_u32(const char *text, uint32_t *val, int min, int max)
{
    if (text == nullptr)
        return -1;
    char *stop = nullptr;
    const unsigned long wide = plain_strtoul(text, &stop, 0);
    *val = static_cast<uint32_t>(wide & 0xFFFFFFFFUL);
    if (*stop != '\0' && *stop != 0x20) {
        printed += "Err: parameter format error, required a interger input \n";
        return -1;
    }
    if (*val < static_cast<uint32_t>(min) || *val > static_cast<uint32_t>(max)) {
        char line[100];
        snprintf(line, sizeof line, "Err: parameter '%d' beyond the range (%d~%d) \n", static_cast<int>(*val), min,
                 max);
        printed += line;
        return -1;
    }
    return 0;
}

int parse_u16(const char *text, uint16_t *val, int min, int max)
{
    uint32_t wide = 0;
    if (parse_u32(text, &wide, min, max) == -1)
        return -1;
    *val = static_cast<uint16_t>(wide & 0xFFFF);
    return 0;
}

int parse_u8(const char *text, uint8_t *val, int min, int max)
{
    uint32_t wide = 0;
    if (parse_u32(text, &wide, min, max) == -1)
        return -1;
    *val = static_cast<uint8_t>(wide & 0xFF);
    return 0;
}

int parse_u32_with_range(const char *word, uint32_t *begin, uint32_t *end, int max, int *range, int *inverse)
{
    if (word == nullptr)
        return -1;
    const copy_of copy(word, inverse);
    if (const char *after = cut_at(strchr(copy.text, '~'))) {
        if (strlen(copy.text) == 0)
            *begin = 0;
        else if (parse_u32(copy.text, begin, 0, max) == -1)
            return -1;
        if (strlen(after) == 0)
            *end = static_cast<uint32_t>(max);
        else if (parse_u32(after, end, 0, max) == -1)
            return -1;
        if (*end < *begin)
            return -1;
        *range = 1;
        return 0;
    }
    if (const char *after = cut_at(strchr(copy.text, '/'))) {
        if (strlen(copy.text) == 0 || strlen(after) == 0) {
            printed += "Err: parameter format error, required value/mask input \n";
            return -1;
        }
        if (parse_u32(copy.text, begin, 0, max) == -1 || parse_u32(after, end, 0, 65535) == -1)
            return -1;
        *range = 0;
        return 0;
    }
    if (parse_u32(copy.text, begin, 0, max) == -1)
        return -1;
    *end = 0xFFFF;
    *range = 0;
    return 0;
}

int string_to_number_ll(const char *text, unsigned long long min, unsigned long long max, unsigned long long *ret)
{
    char *stop = nullptr;
    const unsigned long long value = plain_strtoull(text, &stop, 0);
    const bool whole = *stop == '\0';
    const bool something = stop != text;
    const bool inside = value >= min && (max == 0 || value <= max);
    if (!whole || !something || !inside)
        return -1;
    *ret = value;
    return 0;
}

int string_to_number_l(const char *text, unsigned long min, unsigned long max, unsigned long *ret)
{
    unsigned long long value = 0;
    if (string_to_number_ll(text, min, max, &value) == -1) {
        *ret = 0;
        return -1;
    }
    *ret = value;
    return 0;
}

int string_to_number(const char *text, unsigned min, unsigned max, unsigned *ret)
{
    unsigned long value = 0;
    if (string_to_number_l(text, min, max, &value) == -1) {
        *ret = 0;
        return -1;
    }
    *ret = static_cast<unsigned>(value);
    return 0;
}

static int read_ether(const char *text, unsigned char *mac)
{
    const ether_addr *address = ether_aton(text);
    if (address == nullptr)
        return -1;
    memcpy(mac, address, 6);
    return 0;
}

int parse_mac_addr(const char *word, unsigned char *mac, unsigned char *mask, int *range, int *inverse)
{
    if (word == nullptr)
        return -1;
    const copy_of copy(word, inverse);
    int mode = 0;
    if (const char *last = cut_at(strrchr(copy.text, '~'))) {
        if (read_ether(last, mask) == -1)
            return -1;
        mode = 1;
    } else if (const char *maskText = cut_at(strrchr(copy.text, '/'))) {
        if (read_ether(maskText, mask) == -1)
            return -1;
    } else {
        memset(mask, 0xFF, 6);
    }
    *range = mode;
    if (read_ether(copy.text, mac) == -1)
        return -1;
    for (int i = 0; mode == 0 && i < 6; i++)
        mac[i] = static_cast<unsigned char>(mac[i] & mask[i]);
    return 0;
}

int undot_ip(const char *text, uint32_t *address)
{
    char work[20] = "";
    strncpy(work, text, 19);
    char *rest = work;
    unsigned long octets[4];
    for (int i = 0; i < 4; i++) {
        char *piece = rest;
        if (i < 3) {
            rest = cut_at(strchr(piece, '.'));
            if (rest == nullptr)
                return -1;
        }
        char *stop = nullptr;
        octets[i] = static_cast<unsigned long>(strtol(piece, &stop, 10));
        if (stop != piece + strlen(piece) || octets[i] > 255)
            return -1;
    }
    *address = static_cast<uint32_t>(octets[0] << 24 | octets[1] << 16 | octets[2] << 8 | octets[3]);
    return 0;
}

int ip_mask(const char *text, uint32_t *mask)
{
    if (undot_ip(text, mask) == 0)
        return 0;
    char *stop = nullptr;
    const unsigned long length = static_cast<unsigned long>(strtol(text, &stop, 10));
    if (*stop != '\0' || length > 32)
        return -1;
    *mask = length == 0 ? 0xFFFFFFFFU : static_cast<uint32_t>(0xFFFFFFFFULL << (32 - length));
    return 0;
}

int parse_ip_addr(const char *word, uint32_t *address, uint32_t *mask, int *range, int *inverse)
{
    if (word == nullptr)
        return -1;
    const copy_of copy(word, inverse);
    if (const char *last = cut_at(strrchr(copy.text, '~'))) {
        if (ip_mask(last, mask) == -1 || undot_ip(copy.text, address) == -1 || *address > *mask)
            return -1;
        *range = 1;
        return 0;
    }
    if (const char *maskText = cut_at(strrchr(copy.text, '/'))) {
        if (ip_mask(maskText, mask) == -1 || undot_ip(copy.text, address) == -1)
            return -1;
        *address = *address & *mask;
        *range = 0;
        return 0;
    }
    *mask = 0xFFFFFFFFU;
    if (undot_ip(copy.text, address) == -1)
        return -1;
    *range = 0;
    return 0;
}

in6_addr parse_ip6_mask(const char *text)
{
    in6_addr mask;
    if (inet_pton(AF_INET6, text, &mask) == 1)
        return mask;
    unsigned length = 0;
    if (string_to_number(text, 0, 128, &length) == -1)
        printed += std::string("Invalid IPv6 Mask '") + text + "' specified";
    memset(&mask, 0, sizeof mask);
    for (unsigned i = 0; i < length; i++)
        mask.s6_addr[i / 8] = static_cast<uint8_t>(mask.s6_addr[i / 8] | 0x80U >> (i % 8));
    return mask;
}

int parse_ipv6_addr(const char *word, in6_addr *address, in6_addr *mask, int *range, int *inverse)
{
    if (word == nullptr)
        return -1;
    *inverse = word[0] == '!' ? 1 : 0;
    char copy[256] = "";
    strncpy(copy, word + *inverse, 255);
    if (const char *last = cut_at(strrchr(copy, '~'))) {
        if (inet_pton(AF_INET6, copy, address) != 1 || inet_pton(AF_INET6, last, mask) != 1) {
            printed += std::string("Invalid IPv6 Address '") + copy + "' specified \n";
            return -1;
        }
        uint16_t first[8];
        uint16_t second[8];
        memcpy(first, address, 16);
        memcpy(second, mask, 16);
        bool good = ntohs(first[7]) <= ntohs(second[7]);
        for (int group = 0; group < 7; group++)
            good = good && first[group] == second[group];
        if (!good) {
            printed += "Invalid IPv6 Address range \n";
            return -1;
        }
        *range = 1;
        return 0;
    }
    const char *text = copy;
    if (const char *maskText = cut_at(strrchr(copy, '/')))
        *mask = parse_ip6_mask(maskText);
    else
        memset(mask, 0xFF, sizeof *mask);
    if (memcmp(mask, &in6addr_any, sizeof *mask) == 0)
        text = "::";
    if (inet_pton(AF_INET6, text, address) != 1) {
        printed += std::string("Invalid IPv6 Address '") + text + "' specified";
        return -1;
    }
    for (int i = 0; i < 16; i++)
        address->s6_addr[i] = static_cast<uint8_t>(address->s6_addr[i] & mask->s6_addr[i]);
    *range = 0;
    return 0;
}

std::string mac2str(const unsigned char *mac)
{
    char text[32] = "";
    for (int i = 0; i < 6; i++)
        sprintf(text + strlen(text), "%02x%s", mac[i], i < 5 ? ":" : "");
    return text;
}

std::string ip2str(uint32_t address)
{
    char text[32];
    sprintf(text, "%d.%d.%d.%d", static_cast<int>(address >> 24), static_cast<int>(address >> 16 & 255),
            static_cast<int>(address >> 8 & 255), static_cast<int>(address & 255));
    return text;
}

std::string ip62str(const in6_addr &address)
{
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, &address, text, sizeof text);
}

int ip6mask2cidr(const in6_addr &mask)
{
    std::string digits;
    for (const uint8_t byte : mask.s6_addr)
        for (int bit = 7; bit >= 0; bit--)
            digits += (byte >> bit & 1) != 0 ? '1' : '0';
    const size_t zero = digits.find('0');
    if (zero == std::string::npos)
        return 128;
    return digits.find('1', zero) == std::string::npos ? static_cast<int>(zero) : -1;
}

std::string ip6mask2str(const in6_addr &mask)
{
    const int length = ip6mask2cidr(mask);
    if (length == 128)
        return "";
    return length == -1 ? "/" + ip62str(mask) : "/" + std::to_string(length);
}

int next_bit(const uint8_t *bitmap, int start)
{
    const uint32_t word = bitmap[0] + bitmap[1] * 0x100U + bitmap[2] * 0x10000U + bitmap[3] * 0x1000000U;
    for (int i = start; i < 32; i++)
        if ((word & 1U << i) != 0)
            return i + 1;
    return 0;
}

} // namespace oracle
