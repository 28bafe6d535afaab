#include "counter.h"

#include "device.h"
#include "number.h"
#include "output.h"
#include "record.h"
#include "usage.h"
#include "words.h"

static int usage_and_fail()
{
    counter_cmd_usage();
    return -1;
}

// Any result but 0 is a failure here, a positive one too. *info is left as the module returned it.
// Inline: all counters are asked one after the other, and a call takes as long as the work.
[[gnu::always_inline]] static inline int request_counter(kxqos_request nr, int number, kxqos_counter_info_s *info)
{
    clear(info);
    info->counterID = number;
    return kxqosctl_ioctl(KXQOS_REQUEST(nr), info) == 0 ? 0 : -1;
}

static int get_counter(int number, kxqos_counter_info_s *info)
{
    const int result = request_counter(KXQOS_COUNTER_GET, number, info);
    if (result != 0)
        print("Err: get counter %d fail \n", number);
    return result;
}

static int change_counter(kxqos_request nr, int number, const char *verb)
{
    kxqos_counter_info_s info;
    const int result = request_counter(nr, number, &info);
    if (result != 0)
        print("Err: %s counter fail \n", verb);
    return result;
}

static void show_counter(const kxqos_counter_info_s *info)
{
    print("CounterID: %-4d  pkt %-10lld  bytes %-20lld  speed %ldkbps \n", info->counterID,
          static_cast<long long>(info->packets), static_cast<long long>(info->bytes), static_cast<long>(info->speed));
}

static int show_all()
{
    int result = 0;
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        kxqos_counter_info_s info;
        if (get_counter(number, &info) != 0)
            result = -1;
        else if (info.counterID != 0) // 0: not in use
            show_counter(&info);
    }
    return result;
}

static int clear_all()
{
    int result = 0;
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++)
        if (change_counter(KXQOS_COUNTER_CLEAR, number, "clear") != 0)
            result = -1;
    return result;
}

static int show_one(int number)
{
    kxqos_counter_info_s info;
    if (get_counter(number, &info) != 0)
        return -1;
    show_counter(&info);
    return 0;
}

int do_counter_command(int count, const char *const *words)
{
    if (count == 1 && equals(words[0], "show"))
        return show_all();
    if (count == 1 && equals(words[0], "clear"))
        return clear_all();
    if (count != 2)
        return usage_and_fail();
    u32 number = 0;
    if (parse_u32(words[0], &number, 1, KXQOS_COUNTER_LAST) != 0)
        return -1;
    const int counter = static_cast<int>(number);
    if (begins(words[1], "show", 2))
        return show_one(counter);
    if (begins(words[1], "clear", 2))
        return change_counter(KXQOS_COUNTER_CLEAR, counter, "clear");
    if (begins(words[1], "enable", 2))
        return change_counter(KXQOS_COUNTER_ENABLE, counter, "enable");
    if (begins(words[1], "disable", 2))
        return change_counter(KXQOS_COUNTER_DISABLE, counter, "disable");
    return usage_and_fail();
}
