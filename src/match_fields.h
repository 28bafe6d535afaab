// The match fields: one row per field, walked by the parser, the detail display and the configuration dump.
#ifndef KXQOSCTL_MATCH_FIELDS_H
#define KXQOSCTL_MATCH_FIELDS_H

#include "kxqos.h"

// How a field's value is written, and so how it is parsed and shown.
enum class match_kind : uint8_t {
    mac,
    ipv4,
    ipv6,
    decimal,
    hexadecimal,
    port_map,     // no mask
    device,       // no mask
    protocol_bits // a mask is stored, but never shown
};

struct match_field {
    char keyword[10];
    uint8_t compared; // characters of the keyword that count; one more than it has: the whole word
    match_kind kind;
    uint8_t offset; // of the value in kxqos_rule_t
    uint8_t size;   // of the value in bytes
    uint8_t digits; // the least hexadecimal ones, of a mask and of a hexadecimal value
    uint32_t maximum;
    char label[19]; // in the detail display, with its own indentation
};

// Row n is field KXQOS_MATCH_* n.
extern const match_field match_fields[KXQOS_MATCH_MAX];

// The field that the word is a keyword of, or -1.
int find_match_field(const char *word);

inline void *match_value(kxqos_rule_t *rule, const match_field &row)
{
    return reinterpret_cast<char *>(rule) + row.offset;
}

inline const void *match_value(const kxqos_rule_t *rule, const match_field &row)
{
    return reinterpret_cast<const char *>(rule) + row.offset;
}

// The mask or range end of a value: the same member of the record's second half. Null for the members that stand
// after both halves and have none.
inline constexpr size_t mask_distance = offsetof(kxqos_rule_t, mask) - offsetof(kxqos_rule_t, field);

inline bool has_mask(const match_field &row)
{
    return row.offset < offsetof(kxqos_rule_t, mask);
}

inline void *match_mask(kxqos_rule_t *rule, const match_field &row)
{
    return has_mask(row) ? reinterpret_cast<char *>(rule) + row.offset + mask_distance : nullptr;
}

inline const void *match_mask(const kxqos_rule_t *rule, const match_field &row)
{
    return has_mask(row) ? reinterpret_cast<const char *>(rule) + row.offset + mask_distance : nullptr;
}

// The sets of fields: field n is bit n % 8 of byte n / 8.
inline bool has_field(const uint8_t (&set)[4], int field)
{
    const auto number = static_cast<unsigned>(field); // is divided in fewer steps
    return (set[number / 8] >> (number % 8) & 1) != 0;
}

void set_field(uint8_t (&set)[4], int field, bool on);

// Which of its forms a field of a rule has.
enum class match_form : uint8_t {
    single, // has no second text
    range,  // second is the upper end
    mask,   // second is the mask
    prefix  // second is the mask with its own "/", or nothing
};

struct match_text {
    match_form form;
    const char *inverse; // "!" or nothing
    char value[128];
    char second[128];
};

// The texts of one selected field. portMapDigits: the least digits of a port map, the one value whose text differs
// between the displays.
void format_match_field(const kxqos_rule_t *rule, int field, int portMapDigits, match_text *text);

#endif
