// The profiles: the rule tables of the module.
#ifndef KXQOSCTL_PROFILES_H
#define KXQOSCTL_PROFILES_H

#include "kxqos.h"

struct qos_profile {
    char name[16];
    uint16_t highestRuleID;
};

// In profile order; the last row stands for every number above.
inline constexpr qos_profile qosProfileName[KXQOS_PROFILE_MAX + 1] = {
#define PROFILE_ROW(name, word, rules) {word, rules},
    KXQOS_PROFILES(PROFILE_ROW)
#undef PROFILE_ROW
        {"other", 0},
};

// Never fails: "other" for a number that no profile has.
const char *get_qos_profile_name(uint16_t profileID);

// What a word says of a profile.
enum class profile_word : uint8_t {
    name,       // a profile's name, of which three characters count
    number,     // a profile's number
    bad_number, // begins as a number, and is no profile's; has printed what is wrong
    none
};

// Reads the word into *profileID, which is written only for a name or a number. A null word gives none.
profile_word read_profile(const char *word, uint16_t *profileID);

#endif
