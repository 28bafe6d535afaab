#include "profiles.h"

#include "number.h"
#include "output.h"
#include "words.h"

const char *get_qos_profile_name(uint16_t profileID)
{
    if (profileID >= KXQOS_PROFILE_MAX)
        profileID = KXQOS_PROFILE_MAX;
    return qosProfileName[profileID].name;
}

static int parse_profile_number(const char *word, uint16_t *profileID)
{
    if (parse_u16(word, profileID, 0, KXQOS_PROFILE_MAX - 1) != 0)
        return -1;
    if (*profileID >= KXQOS_PROFILE_MAX) { // a second guard, should the range above ever change
        print_line("Err: Don't support this profile! ");
        return -1;
    }
    return 0;
}

profile_word read_profile(const char *word, uint16_t *profileID)
{
    if (word == nullptr)
        return profile_word::none;
    for (uint16_t profile = 0; profile < KXQOS_PROFILE_MAX; profile++) {
        if (begins(word, qosProfileName[profile].name, 3)) {
            *profileID = profile;
            return profile_word::name;
        }
    }
    // kept: profile 0 cannot be given by number, only by its name
    if (*word < '1' || *word > '8')
        return profile_word::none;
    return parse_profile_number(word, profileID) == 0 ? profile_word::number : profile_word::bad_number;
}
