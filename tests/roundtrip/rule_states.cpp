#include "rule_states.h"

#include "action_fields.h"
#include "match_fields.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// Fields

using Kind = match_kind;

struct Field {
    Kind kind;
    size_t offset; // of the value, in the record
    size_t size;
    uint32_t max; // of a number
};

// From the tool's own table, which the unit tests hold to one that was typed anew: what is proved here is what becomes
// of all that a field may hold, whatever fields there are.
Field field_of(int number)
{
    const match_field &row = match_fields[number];
    return {row.kind, row.offset, row.kind == Kind::ipv4 ? sizeof(uint32_t) : row.size, row.maximum};
}

bool is_number(Kind kind)
{
    return kind == Kind::decimal || kind == Kind::hexadecimal;
}

bool bit(const uint8_t *bits, int number)
{
    return (bits[number / 8] >> (number % 8) & 1) != 0;
}

void put_bit(uint8_t *bits, int number, bool on)
{
    auto mask = static_cast<uint8_t>(1U << (number % 8));
    bits[number / 8] = static_cast<uint8_t>(on ? bits[number / 8] | mask : bits[number / 8] & ~mask);
}

bool selected(const kxqos_rule_t &rule, int field)
{
    return bit(rule.fieldSel, field);
}

bool ranged(const kxqos_rule_t &rule, int field)
{
    return bit(rule.fieldMode, field);
}

bool inverse(const kxqos_rule_t &rule, int field)
{
    return bit(rule.fieldInverse, field);
}

const uint8_t *raw(const kxqos_rule_t &rule)
{
    return reinterpret_cast<const uint8_t *>(&rule);
}

uint8_t *raw(kxqos_rule_t &rule)
{
    return reinterpret_cast<uint8_t *>(&rule);
}

const uint8_t *value_of(const kxqos_rule_t &rule, int field)
{
    return raw(rule) + field_of(field).offset;
}

const uint8_t *mask_of(const kxqos_rule_t &rule, int field)
{
    return value_of(rule, field) + mask_distance;
}

// A little-endian number, as on the gateway.
uint32_t number_at(const uint8_t *bytes, size_t size)
{
    uint32_t number = 0;
    std::memcpy(&number, bytes, size);
    return number;
}

uint32_t number_of(const kxqos_rule_t &rule, int field)
{
    return number_at(value_of(rule, field), field_of(field).size);
}

uint32_t mask_number_of(const kxqos_rule_t &rule, int field)
{
    return number_at(mask_of(rule, field), field_of(field).size);
}

template <typename Test> bool any_selected(const kxqos_rule_t &rule, Test test)
{
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        if (selected(rule, field) && test(field, field_of(field).kind))
            return true;
    }
    return false;
}

int selected_fields(const kxqos_rule_t &rule)
{
    int count = 0;
    for (int field = 0; field < KXQOS_MATCH_MAX; field++)
        count += selected(rule, field) ? 1 : 0;
    return count;
}

// Fields of the same storage are typed in the order of their numbers, and the last one stays. -1 if none is selected.
int last_of(const kxqos_rule_t &rule, std::initializer_list<int> sharing)
{
    int last = -1;
    for (int field : sharing) {
        if (selected(rule, field))
            last = field;
    }
    return last;
}

// The actions that have a keyword.
const uint32_t keyword_actions = [] {
    uint32_t flags = 0;
    for (int action = 0; action < KXQOS_ACTION_MAX; action++)
        flags |= action_fields[action].keyword[0] != '\0' ? 1U << action : 0;
    return flags;
}();

bool acts(const kxqos_rule_t &rule, int action)
{
    return (rule.action.actionFlag >> action & 1) != 0;
}

// States, one after the other

constexpr int last_bit = 31; // of a selection

bool has_unknown_field(const kxqos_rule_t &rule)
{
    for (int field = KXQOS_MATCH_MAX; field <= last_bit; field++) {
        if (selected(rule, field))
            return true;
    }
    return false;
}

bool has_unknown_action(const kxqos_rule_t &rule)
{
    return (rule.action.actionFlag & ~keyword_actions) != 0;
}

// The command wants more words after "match" or "action" than such a line has.
bool does_nothing(const kxqos_rule_t &rule)
{
    return (rule.action.actionFlag & keyword_actions) == 0 && selected_fields(rule) < 2;
}

bool debugs_egress(const kxqos_rule_t &rule)
{
    return acts(rule, KXQOS_ACTION_SKB_DBG_ON) && any_selected(rule, [](int field, Kind) {
               return field >= KXQOS_MATCH_OUTDEV && field <= KXQOS_MATCH_EGR_L4SRCPORT;
           });
}

bool has_high_parameter(const kxqos_rule_t &rule)
{
    const kxqos_action_t &action = rule.action;
    return (acts(rule, KXQOS_ACTION_ASSIGN_QUEUE) && action.queue > 7) ||
           (acts(rule, KXQOS_ACTION_CHG_PRI) && action.newPri > 7) ||
           (acts(rule, KXQOS_ACTION_RATE_LIMIT) && (action.rateBucket < 1 || action.rateBucket > KXQOS_BUCKET_LAST)) ||
           (acts(rule, KXQOS_ACTION_ASSIGN_COUNTER) && (action.counterID < 1 || action.counterID > KXQOS_COUNTER_LAST));
}

bool has_high_number(const kxqos_rule_t &rule)
{
    return any_selected(rule, [&rule](int field, Kind kind) {
        uint32_t max = field_of(field).max;
        return is_number(kind) &&
               (number_of(rule, field) > max || (ranged(rule, field) && mask_number_of(rule, field) > max));
    });
}

bool has_wide_label_mask(const kxqos_rule_t &rule)
{
    return selected(rule, KXQOS_MATCH_FL) && !ranged(rule, KXQOS_MATCH_FL) && rule.mask.flowlabel > 0xffff;
}

// The last of an IPv6 address's eight groups.
uint32_t last_group(const uint8_t *address)
{
    return static_cast<uint32_t>(address[14]) << 8 | address[15];
}

bool goes_down(const kxqos_rule_t &rule)
{
    return any_selected(rule, [&rule](int field, Kind kind) {
        if (!ranged(rule, field))
            return false;
        if (kind == Kind::ipv6)
            return last_group(mask_of(rule, field)) < last_group(value_of(rule, field));
        return (is_number(kind) || kind == Kind::ipv4) && mask_number_of(rule, field) < number_of(rule, field);
    });
}

bool has_wide_ipv6_range(const kxqos_rule_t &rule)
{
    return any_selected(rule, [&rule](int field, Kind kind) {
        return kind == Kind::ipv6 && ranged(rule, field) &&
               std::memcmp(value_of(rule, field), mask_of(rule, field), 14) != 0;
    });
}

// Typing an address with a mask clears the bits outside it. Bytes are cleared by the field that writes them last.
bool loses_bits(const kxqos_rule_t &rule, int writer, size_t first, size_t last)
{
    if (writer < 0 || ranged(rule, writer))
        return false;
    for (size_t i = first; i <= last; i++) {
        if ((value_of(rule, writer)[i] & ~mask_of(rule, writer)[i]) != 0)
            return true;
    }
    return false;
}

bool has_bits_outside_mask(const kxqos_rule_t &rule)
{
    return loses_bits(rule, last_of(rule, {KXQOS_MATCH_DMAC, KXQOS_MATCH_EGR_DMAC}), 0, 5) ||
           loses_bits(rule, last_of(rule, {KXQOS_MATCH_SMAC}), 0, 5) ||
           loses_bits(rule, last_of(rule, {KXQOS_MATCH_DIPV4, KXQOS_MATCH_DIPV6}), 0, 3) ||
           loses_bits(rule, last_of(rule, {KXQOS_MATCH_DIPV6}), 4, 15) ||
           loses_bits(
               rule,
               last_of(rule, {KXQOS_MATCH_SIPV4, KXQOS_MATCH_SIPV6, KXQOS_MATCH_EGR_SIPV4, KXQOS_MATCH_EGR_SIPV6}), 0,
               3) ||
           loses_bits(rule, last_of(rule, {KXQOS_MATCH_SIPV6, KXQOS_MATCH_EGR_SIPV6}), 4, 15);
}

bool has_range_without_form(const kxqos_rule_t &rule)
{
    return any_selected(rule, [&rule](int field, Kind kind) {
        return ranged(rule, field) && (kind == Kind::port_map || kind == Kind::device || kind == Kind::protocol_bits);
    });
}

// The dump does not show it, and typed without one it is 255.
bool has_protocols_mask(const kxqos_rule_t &rule)
{
    return selected(rule, KXQOS_MATCH_IPPROTO_BITS) && rule.mask.ipProtocol != 0xff;
}

// Interface names

std::string name_of(const kxqos_rule_t &rule, int field)
{
    const char *name = reinterpret_cast<const char *>(value_of(rule, field));
    return std::string(name, strnlen(name, KXQOS_DEVICE_NAME_SIZE));
}

template <typename Test> bool any_name(const kxqos_rule_t &rule, Test test)
{
    return any_selected(rule, [&rule, test](int field, Kind kind) {
        return kind == Kind::device && test(name_of(rule, field), inverse(rule, field));
    });
}

bool has_unended_name(const kxqos_rule_t &rule)
{
    return any_name(rule, [](const std::string &name, bool) { return name.size() == KXQOS_DEVICE_NAME_SIZE; });
}

// The inverse mark counts as a character.
bool has_long_inverse_name(const kxqos_rule_t &rule)
{
    return any_name(rule, [](const std::string &name, bool inverse) { return inverse && name.size() == 15; });
}

bool has_empty_name(const kxqos_rule_t &rule)
{
    return any_name(rule, [](const std::string &name, bool inverse) { return !inverse && name.empty(); });
}

bool has_marked_name(const kxqos_rule_t &rule)
{
    return any_name(rule, [](const std::string &name, bool inverse) { return !inverse && name[0] == '!'; });
}

bool has_blank_name(const kxqos_rule_t &rule)
{
    return any_name(rule,
                    [](const std::string &name, bool) { return name.find_first_of(" \t\n") != std::string::npos; });
}

// What is left when all that carries a meaning is cleared.
bool has_meaningless_bytes(const kxqos_rule_t &rule)
{
    kxqos_rule_t rest = rule;
    auto clear = [&rest](size_t offset, size_t size) { std::memset(raw(rest) + offset, 0, size); };
    rest.table_id = rest.rule_id = 0;
    for (int field = 0; field < KXQOS_MATCH_MAX; field++) {
        const Field shape = field_of(field);
        if (!selected(rule, field))
            continue;
        bool has_mask = shape.kind != Kind::port_map && shape.kind != Kind::device;
        size_t used = shape.kind == Kind::device ? std::min(name_of(rule, field).size() + 1, shape.size) : shape.size;
        clear(shape.offset, used);
        if (has_mask)
            clear(shape.offset + mask_distance, used);
    }
    for (int field = 0; field <= last_bit; field++) {
        if (selected(rule, field)) {
            put_bit(rest.fieldMode, field, false);
            put_bit(rest.fieldInverse, field, false);
            put_bit(rest.fieldSel, field, false);
        }
    }
    kxqos_action_t &action = rest.action;
    action.queue = acts(rule, KXQOS_ACTION_ASSIGN_QUEUE) ? uint16_t{0} : action.queue;
    action.rateBucket = acts(rule, KXQOS_ACTION_RATE_LIMIT) ? uint16_t{0} : action.rateBucket;
    action.newPri = acts(rule, KXQOS_ACTION_CHG_PRI) ? uint8_t{0} : action.newPri;
    action.newDscp = acts(rule, KXQOS_ACTION_CHG_DSCP) ? uint8_t{0} : action.newDscp;
    action.counterID = acts(rule, KXQOS_ACTION_ASSIGN_COUNTER) ? uint16_t{0} : action.counterID;
    action.actionFlag = 0;
    return std::any_of(raw(rest), raw(rest) + sizeof rest, [](uint8_t byte) { return byte != 0; });
}

// Examples: a rule that can be typed, with one thing changed

kxqos_rule_t plain_rule()
{
    kxqos_rule_t rule = {};
    rule.action.queue = 1;
    rule.action.actionFlag = 1;
    return rule;
}

kxqos_rule_t rule_with(std::initializer_list<int> selection)
{
    kxqos_rule_t rule = plain_rule();
    for (int field : selection)
        put_bit(rule.fieldSel, field, true);
    return rule;
}

kxqos_rule_t rule_with_name(const char *name, bool is_inverse)
{
    kxqos_rule_t rule = rule_with({KXQOS_MATCH_INDEV});
    std::memcpy(rule.inDev, name, std::min(std::strlen(name), sizeof rule.inDev));
    put_bit(rule.fieldInverse, KXQOS_MATCH_INDEV, is_inverse);
    return rule;
}

constexpr RuleState states[] = {
    {"a match field that does not exist", false, has_unknown_field, [] { return rule_with({last_bit}); }},
    {"an action without a keyword", false, has_unknown_action,
     [] {
         kxqos_rule_t rule = plain_rule();
         rule.action.actionFlag |= 1U << KXQOS_ACTION_FINE_CLASSIFY;
         return rule;
     }},
    {"no action and fewer than two match fields", true, does_nothing,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_VID});
         rule.action = {};
         return rule;
     }},
    {"debugging together with an egress field", false, debugs_egress,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_EGR_L4SRCPORT});
         rule.action.actionFlag |= 1U << KXQOS_ACTION_SKB_DBG_ON;
         return rule;
     }},
    {"an action's parameter outside its bounds", false, has_high_parameter,
     [] {
         kxqos_rule_t rule = plain_rule();
         rule.action.queue = 8;
         return rule;
     }},
    {"a number above its field's highest", false, has_high_number,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_VID});
         rule.field.vlanID = 4096;
         return rule;
     }},
    {"a flow label's mask of more than 16 bits", false, has_wide_label_mask,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_FL});
         rule.mask.flowlabel = 0xfffff;
         return rule;
     }},
    {"a range that ends before it begins", true, goes_down,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_SIPV4});
         rule.field.srcIP.ipv4Addr = 2;
         rule.mask.srcIP.ipv4Addr = 1;
         put_bit(rule.fieldMode, KXQOS_MATCH_SIPV4, true);
         return rule;
     }},
    {"an IPv6 range that varies more than its last 16 bits", true, has_wide_ipv6_range,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_DIPV6});
         rule.mask.dstIP.ipv6Addr.s6_addr[13] = 1;
         put_bit(rule.fieldMode, KXQOS_MATCH_DIPV6, true);
         return rule;
     }},
    {"an address with bits outside its mask", true, has_bits_outside_mask,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_SMAC});
         rule.field.srcMac[5] = 1;
         return rule;
     }},
    {"a range of a field that has no such form", false, has_range_without_form,
     [] {
         kxqos_rule_t rule = rule_with({KXQOS_MATCH_RXPORT});
         put_bit(rule.fieldMode, KXQOS_MATCH_RXPORT, true);
         return rule;
     }},
    {"a mask of protocols other than 255", true, has_protocols_mask,
     [] { return rule_with({KXQOS_MATCH_IPPROTO_BITS}); }},
    {"an interface name without an end", false, has_unended_name,
     [] { return rule_with_name("abcdefghijklmnop", false); }},
    {"an inverse interface name of 15 characters", false, has_long_inverse_name,
     [] { return rule_with_name("abcdefghijklmno", true); }},
    {"an empty interface name that is not inverse", true, has_empty_name, [] { return rule_with_name("", false); }},
    {"an interface name that begins with the inverse mark and is not inverse", false, has_marked_name,
     [] { return rule_with_name("!eth0", false); }},
    {"an interface name with a blank in it", true, has_blank_name, [] { return rule_with_name("eth 0", false); }},
    {"bytes that carry no meaning", false, has_meaningless_bytes,
     [] {
         kxqos_rule_t rule = plain_rule();
         rule.mask.tc = 1;
         return rule;
     }},
};

} // namespace

std::span<const RuleState> rule_states()
{
    return states;
}

std::set<std::string> states_not_brought_back(const kxqos_rule_t &rule)
{
    std::set<std::string> names;
    for (const RuleState &state : states) {
        if (state.holds(rule))
            names.insert(state.name);
    }
    return names;
}

// Making rules

namespace {

uint32_t pick_number(Random &random, uint32_t max, Extreme extreme)
{
    if (extreme == Extreme::lowest)
        return 0;
    return extreme == Extreme::highest ? max : random.pick(max) + random.pick(2);
}

void fill(uint8_t *bytes, size_t size, Extreme extreme, Random &random)
{
    for (size_t i = 0; i < size; i++)
        bytes[i] = static_cast<uint8_t>(pick_number(random, 255, extreme));
}

void put_number(uint8_t *bytes, size_t size, uint32_t number)
{
    std::memcpy(bytes, &number, size);
}

// Some masks are prefixes, some have gaps; both ends of the scale are among them.
void set_address(const Field &shape, uint8_t *value, uint8_t *mask, bool range, Extreme extreme, Random &random)
{
    fill(value, shape.size, extreme, random);
    if (range) {
        std::memcpy(mask, value, shape.size);
        if (extreme == Extreme::lowest) {
            std::memset(mask + (shape.kind == Kind::ipv6 ? 14 : 0), 0xff, shape.kind == Kind::ipv6 ? 2 : shape.size);
        } else if (extreme == Extreme::none) {
            // Upwards, in the order in which the field counts its bytes.
            size_t place = shape.kind == Kind::ipv4 ? shape.size - 1 : shape.size - 2;
            mask[place] = static_cast<uint8_t>(value[place] + random.pick(256U - value[place]));
        }
        return;
    }
    fill(mask, shape.size, extreme, random);
    if (extreme == Extreme::none && random.pick(2) == 0) {
        size_t length = random.pick(static_cast<uint32_t>(shape.size) * 8 + 1);
        for (size_t i = 0; i < shape.size; i++) {
            size_t ones = std::min<size_t>(length > 8 * i ? length - 8 * i : 0, 8);
            mask[i] = static_cast<uint8_t>(0xff00U >> ones);
        }
    }
    for (size_t i = 0; i < shape.size; i++)
        value[i] &= mask[i];
}

void set_number(const Field &shape, uint8_t *value, uint8_t *mask, bool range, Extreme extreme, Random &random)
{
    uint32_t first = pick_number(random, shape.max, extreme);
    uint32_t second = 0;
    if (range) {
        second = pick_number(random, shape.max, extreme == Extreme::lowest ? Extreme::highest : extreme);
    } else {
        second = pick_number(random, shape.size == 1 ? 0xff : 0xffff, extreme);
    }
    if (range && second < first)
        std::swap(first, second);
    put_number(value, shape.size, first);
    put_number(mask, shape.size, second);
}

void set_name(uint8_t *value, bool is_inverse, Extreme extreme, Random &random)
{
    static const std::string characters = "abcxyzABCXYZ0189.:-_@/~+*?$'\"\\&;<>()[]{}|#%^=,`";
    size_t longest = is_inverse ? 14 : 15;
    size_t length = 1 + random.pick(static_cast<uint32_t>(longest));
    if (extreme != Extreme::none)
        length = extreme == Extreme::highest ? longest : 1;
    std::memset(value, 0, KXQOS_DEVICE_NAME_SIZE);
    for (size_t i = 0; i < length; i++)
        value[i] = static_cast<uint8_t>(characters[random.pick(static_cast<uint32_t>(characters.size()))]);
}

void set_actions(kxqos_action_t &action, Random &random)
{
    action.actionFlag = random.pick(1024) & keyword_actions;
    // Debugging excludes many fields, so there is less of it.
    if (random.pick(4) != 0)
        action.actionFlag &= ~(1U << KXQOS_ACTION_SKB_DBG_ON);
    if (random.pick(10) == 0)
        action.actionFlag = 0;
    Extreme extreme = std::array{Extreme::lowest, Extreme::highest, Extreme::none}.at(random.pick(3));
    auto number = [&](int flag, uint32_t min, uint32_t max) {
        return (action.actionFlag >> flag & 1) != 0 ? min + pick_number(random, max - min, extreme) : 0;
    };
    action.queue = static_cast<uint16_t>(number(KXQOS_ACTION_ASSIGN_QUEUE, 0, 7));
    action.rateBucket = static_cast<uint16_t>(number(KXQOS_ACTION_RATE_LIMIT, 1, KXQOS_BUCKET_LAST));
    action.newPri = static_cast<uint8_t>(number(KXQOS_ACTION_CHG_PRI, 0, 7));
    action.newDscp = static_cast<uint8_t>(number(KXQOS_ACTION_CHG_DSCP, 0, 255));
    action.counterID = static_cast<uint16_t>(number(KXQOS_ACTION_ASSIGN_COUNTER, 1, KXQOS_COUNTER_LAST));
}

} // namespace

void set_field(kxqos_rule_t &rule, int field, bool range, bool is_inverse, Extreme extreme, Random &random)
{
    const Field shape = field_of(field);
    uint8_t *value = raw(rule) + shape.offset;
    uint8_t *mask = value + mask_distance;
    switch (shape.kind) {
    case Kind::mac:
    case Kind::ipv4:
    case Kind::ipv6:
        set_address(shape, value, mask, range, extreme, random);
        break;
    case Kind::decimal:
    case Kind::hexadecimal:
        set_number(shape, value, mask, range, extreme, random);
        break;
    case Kind::port_map:
        fill(value, shape.size, extreme, random);
        break;
    case Kind::device:
        set_name(value, is_inverse, extreme, random);
        break;
    case Kind::protocol_bits:
        fill(value, 1, extreme, random);
        *mask = 0xff;
        break;
    }
    bool has_range = shape.kind != Kind::port_map && shape.kind != Kind::device && shape.kind != Kind::protocol_bits;
    put_bit(rule.fieldMode, field, range && has_range);
    put_bit(rule.fieldInverse, field, is_inverse);
    put_bit(rule.fieldSel, field, true);
}

kxqos_rule_t random_rule(Random &random)
{
    kxqos_rule_t rule = {};
    uint32_t count = random.pick(6);
    for (uint32_t i = 0; i < count; i++) {
        Extreme extreme = std::array{Extreme::lowest, Extreme::highest, Extreme::none}.at(random.pick(3));
        int field = static_cast<int>(random.pick(KXQOS_MATCH_MAX));
        bool range = random.pick(2) != 0;
        bool is_inverse = random.pick(2) != 0;
        set_field(rule, field, range, is_inverse, extreme, random);
    }
    set_actions(rule.action, random);
    return rule;
}

void spoil(kxqos_rule_t &rule, Random &random)
{
    // Anywhere but in the ids and in the hits, which are the module's.
    constexpr uint32_t first = offsetof(kxqos_rule_t, field);
    constexpr uint32_t last = offsetof(kxqos_rule_t, counter);
    kxqos_rule_t spoiled;
    do {
        spoiled = rule;
        raw(spoiled)[first + random.pick(last - first)] ^= static_cast<uint8_t>(1U << random.pick(8));
    } while (has_meaningless_bytes(spoiled) && random.pick(500) != 0);
    rule = spoiled;
}
