// The parsers once more, written apart from the tool's: step by step, on copies, with the C library's own functions.
// They print into a string what the tool would print.
#ifndef FUZZ_ORACLE_H
#define FUZZ_ORACLE_H

#include <netinet/in.h>
#include <stdint.h>
#include <string>

namespace oracle {

extern std::string printed;

int parse_u32(const char *text, uint32_t *val, int min, int max);
int parse_u16(const char *text, uint16_t *val, int min, int max);
int parse_u8(const char *text, uint8_t *val, int min, int max);
int parse_u32_with_range(const char *text, uint32_t *begin, uint32_t *end, int max, int *range, int *inverse);
int string_to_number_ll(const char *text, unsigned long long min, unsigned long long max, unsigned long long *ret);
int string_to_number_l(const char *text, unsigned long min, unsigned long max, unsigned long *ret);
int string_to_number(const char *text, unsigned min, unsigned max, unsigned *ret);
int parse_mac_addr(const char *text, unsigned char *mac, unsigned char *mask, int *range, int *inverse);
int undot_ip(const char *text, uint32_t *address);
int ip_mask(const char *text, uint32_t *mask);
int parse_ip_addr(const char *text, uint32_t *address, uint32_t *mask, int *range, int *inverse);
in6_addr parse_ip6_mask(const char *text);
int parse_ipv6_addr(const char *text, in6_addr *address, in6_addr *mask, int *range, int *inverse);
std::string mac2str(const unsigned char *mac);
std::string ip2str(uint32_t address);
std::string ip62str(const in6_addr &address);
int ip6mask2cidr(const in6_addr &mask);
std::string ip6mask2str(const in6_addr &mask);
// Bits of 4 bytes: the index after the next one from start on, or 0.
int next_bit(const uint8_t *bitmap, int start);

} // namespace oracle

#endif
