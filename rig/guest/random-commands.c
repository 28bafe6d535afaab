/* random-commands WORKER SEED COUNT: COUNT commands of all kinds, as pseudo-random as SEED, one a line.
 *
 * Each of the four workers, 0 to 3, has profiles, buckets, counters and switches of its own, and prints nothing of the
 * others', so that what the gateway holds in the end and what each of them prints does not depend on who came first.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

static uint64_t state;

/* 0 to below - 1. */
static unsigned number(unsigned below)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return (unsigned)((state >> 32) % below);
}

static const char *one_of(const char *const *words, unsigned count)
{
    return words[number(count)];
}

#define ONE_OF(...) \
    one_of((const char *const[]){__VA_ARGS__}, sizeof((const char *const[]){__VA_ARGS__}) / sizeof(const char *))

static void match(void)
{
    switch (number(7)) {
    case 0:
        printf(" vid %u/0xffff", number(4096));
        return;
    case 1:
        printf(" sport %u~%u", number(1000), 1000 + number(60000));
        return;
    case 2:
        printf(" dip %s10.%u.%u.0/255.255.255.0", ONE_OF("", "!"), number(256), number(256));
        return;
    case 3:
        printf(" smac 00:11:22:33:44:%02x", number(256));
        return;
    case 4:
        printf(" dip6 2001:db8:%x::/48", number(65536));
        return;
    case 5:
        printf(" indev eth%u", number(100));
        return;
    default:
        printf(" sip 192.168.1.%u~192.168.1.%u", number(100), 100 + number(100));
        return;
    }
}

static void rule(unsigned worker)
{
    static const char *const profiles[][2] = {
        {"qos", "qos"}, {"osgiflow", "osgiflow"}, {"lanhost", "lanhost"}, {"bridgedata", "hardacc"}};
    const char *profile = profiles[worker][number(2)];

    if (number(200) == 0) {
        printf("reset profile %s\n", profile);
        return;
    }
    printf("rule %u profile %s", 1 + number(64), profile);
    switch (number(8)) {
    case 0:
        puts(" delete");
        return;
    case 1:
        puts(" show");
        return;
    default:
        printf(" match");
        match();
        printf(" action %s %u\n", ONE_OF("queue", "dscp", "rate-bucket", "counter"), 1 + number(7));
    }
}

static void limit(const char *direction)
{
    const char *what = ONE_OF("add", "add", "delete");
    const unsigned which = 1 + number(20);

    printf("limit %s ", direction);
    switch (number(6)) {
    case 0:
        printf("mode %s\n", ONE_OF("ip", "vlan", "port", "disable"));
        return;
    case 1:
    case 2:
        printf("%s ip 10.1.%u.1~10.1.%u.9 rate %u\n", what, which, which, number(100000));
        return;
    case 3:
        printf("%s vlan %u rate %u\n", what, which, number(100000));
        return;
    case 4:
        printf("%s port %u rate %u\n", what, which % 10, number(100000));
        return;
    default:
        printf("%s ip6 2001:db8::%u~2001:db8::%x rate %u\n", what, which % 4, 0x10, number(100000));
    }
}

/* What only one worker may do, as all of it is read and written back as a whole, or is a single switch. */
static void own(unsigned worker)
{
    static const char *const switches[] = {"qos", "puredscpremark", "fine-classifi", "refresh"};

    if (worker < 2 && number(3) != 0)
        limit(worker == 0 ? "up" : "down");
    else if (worker == 2 && number(2) == 0)
        printf("debug %s %s\n", ONE_OF("info", "warning", "error", "packet", "match", "action", "all"),
               ONE_OF("on", "off"));
    else
        printf("%s %s\n", switches[worker], ONE_OF("enable", "disable"));
}

static void command(unsigned worker)
{
    const unsigned bucket = 1 + worker + 4 * number(16);
    const unsigned counter = 1 + worker + 4 * number(55);

    switch (number(12)) {
    case 0:
        printf("bucket %u rate %u\n", bucket, number(1000000));
        return;
    case 1:
        printf("bucket %u %s\n", bucket, ONE_OF("show", "delete", "show"));
        return;
    case 2:
        printf("counter %u %s\n", counter, ONE_OF("enable", "disable", "clear", "show"));
        return;
    case 3:
        printf("test osgi %u counter %u show\n", number(8), number(257));
        return;
    case 4:
        puts(ONE_OF("nonsense", "bucket 65 rate 1", "rule 0 profile qos show", "counter 223 show", "limit up add",
                    "rule 5 profile nowhere show", "qos perhaps", "queue"));
        return;
    case 5:
    case 6:
        own(worker);
        return;
    default:
        rule(worker);
    }
}

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    const unsigned worker = (unsigned)atoi(argv[1]) % 4;
    state = 88172645463325252U + strtoull(argv[2], NULL, 10) * 2654435761U + worker;
    for (int i = 0; i < 20; i++)
        number(2); /* neighbouring seeds begin alike */
    for (long left = atol(argv[3]); left > 0; left--)
        command(worker);
    return 0;
}
