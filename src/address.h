// Argument words to addresses, and addresses to text.
//
// Every parser returns 0 or -1. A match value is "[!]address", "[!]address/mask" (*rangeMode 0, the second output is
// the mask, and the address is ANDed with it) or "[!]begin~end" (*rangeMode 1, the second output is the end).
// *inverseFlag is 1 for a leading "!", and is written even when the call then fails. Unlike for numbers, the LAST "~"
// or "/" of the word divides it. A null word is refused as a match value, and not to be given to the others.
#ifndef KXQOSCTL_ADDRESS_H
#define KXQOSCTL_ADDRESS_H

#include "number.h"

#include <netinet/in.h>

// The size of the buffers that callers format into.
inline constexpr int address_text_size = 128;

// mac and mask: 6 bytes in wire order. A range is not checked for order. Prints nothing.
int parse_mac_addr(const char *argStr, unsigned char *mac, unsigned char *mask, int *rangeMode, int *inverseFlag);

// Addresses and masks in host order, the first dotted octet most significant. Print nothing.
int parse_ip_addr(const char *argStr, u32 *ipAddr, u32 *ipMask, int *rangeMode, int *inverseFlag);
// A dotted quad. Only its first 19 characters are looked at.
int undot_ip(const char *ip, u32 *ipaddr);
// A dotted quad or a prefix length; kept: the length 0 gives all ones, as 32 does.
int ip_mask(const char *mask, u32 *ipMask);

// Addresses and masks in network order. Prints its own messages, two of them without a newline. A range may vary only
// the last 16 bits. Only the first 255 characters are looked at.
int parse_ipv6_addr(const char *address, in6_addr *addr, in6_addr *msk, int *rangeMode, int *inverseFlag);
// A mask from an address or a prefix length; kept: a bad one is reported and becomes all zero.
in6_addr parse_ip6_mask(const char *mask);

// Formatters: clear bufLen bytes of buf, fill it with terminated text and return it.
char *mac2str(const unsigned char *mac, char *buf, int bufLen);
char *ip2str(u32 ipAddr, char *buf, int bufLen);
char *ip62str(const in6_addr *addrp, char *buf, int bufLen);
// "/length", "/mask" for one that is no prefix, and nothing for the full mask.
char *ip6mask2str(const in6_addr *msk, char *buf, int bufLen);
// The prefix length 0..128 of a mask, or -1.
int ip6mask2cidr(const in6_addr *k);

#endif
