// The commands that change one setting of the whole module, and the queue map's display.
#ifndef KXQOSCTL_SETTINGS_H
#define KXQOSCTL_SETTINGS_H

#include <stdint.h>

struct debug_category {
    char prefix[3]; // two characters count
    uint16_t bits;  // KXQOS_DEBUG_*
};

inline constexpr int debug_category_count = 10;
extern const debug_category debug_categories[debug_category_count];

// Each takes count words after its command word. They return 0, -1, or a positive result of the module's.
int do_debug_command(int count, const char *const *words);
int do_global_state_command(int count, const char *const *words);
int do_queue_command(int count, const char *const *words);
int do_pure_dacpremark_command(int count, const char *const *words);
int do_fine_classification_command(int count, const char *const *words);
int do_kxnat_refresh_command(int count, const char *const *words);
int do_reset_command(int count, const char *const *words);

#endif
