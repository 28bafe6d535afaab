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

int find_profile(const char *word)
{
    if (word == nullptr)
        return -1;
    for (int profile = 0; profile < KXQOS_PROFILE_MAX; profile++)
        if (begins(word, qosProfileName[profile].name, 3))
            return profile;
    return -1;
}

bool begins_profile_number(const char *word)
{
    return word != nullptr && *word >= '1' && *word <= '8';
}

int parse_profile_number(const char *word, uint16_t *profileID)
{
    if (parse_u16(word, profileID, 0, KXQOS_PROFILE_MAX - 1) != 0)
        return -1;
    if (*profileID >= KXQOS_PROFILE_MAX) { // a second guard, should the range above ever change
        print_line("Err: Don't support this profile! ");
        return -1;
    }
    return 0;
}
