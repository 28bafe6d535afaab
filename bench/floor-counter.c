#include "floor.h"

int main(void)
{
    buffer_output();
    for (int number = 1; number <= KXQOS_COUNTER_LAST; number++) {
        kxqos_counter_info_s info = {.counterID = number};

        ask(KXQOS_COUNTER_GET, &info);
        printf("CounterID: %-4d  pkt %-10lld  bytes %-20lld  speed %ldkbps \n", info.counterID, (long long)info.packets,
               (long long)info.bytes, (long)info.speed);
    }
    return 0;
}
