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

// The profile whose name begins with the word's first three characters, or -1. A null word names none.
int find_profile(const char *word);

// Whether the word begins as a profile number may: 1 to 8. Profile 0 cannot be given by number: meant.
bool begins_profile_number(const char *word);

// Reads such a number into *profileID; prints what is wrong and returns -1 unless it is a profile's.
int parse_profile_number(const char *word, uint16_t *profileID);

#endif
