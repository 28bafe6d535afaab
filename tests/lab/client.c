/* Uses the device and the library as kxqosctl does, and in ways that it does not:
 *
 *     lab-client request NUMBER BYTES    one request; prints its result and the payload that came back
 *     lab-client encoding REQUEST        one request of a whole number, in hexadecimal; prints its result
 *     lab-client bad NUMBER null|edge    the same with a pointer that cannot be read, at all or to its end
 *     lab-client open PATH               prints the descriptor
 *     lab-client rules PROFILE FROM TO   adds rules
 *     lab-client walk PROFILE            prints the rules of a profile
 *     lab-client storm PROFILE           over and over: empties the profile, then adds rules 1, 2, 3 and so on
 *     lab-client cut FILE                over and over: cuts a file short and makes it as long as it was
 *     lab-client flip FILE SEED COUNT    changes so many pseudo-random bytes of a state file, after its header
 *     lab-client fork                    eight children add 20 rules each through one descriptor
 *     lab-client library                 calls every function of the library once; prints results and outputs
 *
 * A result is a negative error number where there is one.
 */
#include "libkx.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static int result_of(int result)
{
    return result < 0 ? -errno : result;
}

static int send_on(int fd, unsigned request, void *payload)
{
    return result_of(ioctl(fd, request, payload));
}

static int send_request(unsigned request, void *payload)
{
    const int fd = open(KXQOS_DEVICE, O_RDWR);
    int result;

    if (fd < 0)
        return -errno;
    result = send_on(fd, request, payload);
    close(fd);
    return result;
}

static int number_of(const char *word)
{
    return (int)strtol(word, NULL, 10);
}

static void print_request(unsigned number, const char *bytes)
{
    unsigned char payload[1024] = {0};
    size_t size = 0;
    unsigned byte;

    /* Two digits are never too large. NOLINTNEXTLINE(cert-err34-c) */
    for (; sscanf(bytes, "%2x", &byte) == 1; bytes += 2)
        payload[size++] = (unsigned char)byte;
    printf("%d ", send_request(KXQOS_REQUEST(number), payload));
    for (size_t i = 0; i < size; i++)
        printf("%02x", payload[i]);
    putchar('\n');
}

static void print_bad_request(unsigned number, const char *kind)
{
    char *pages = mmap(NULL, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

    if (pages == MAP_FAILED || munmap(pages + 4096, 4096) != 0) {
        perror("lab-client");
        exit(1);
    }
    printf("%d\n", send_request(KXQOS_REQUEST(number), strcmp(kind, "edge") == 0 ? pages + 4094 : NULL));
}

static void print_open(const char *path)
{
    const int before = errno = EXDEV;
    const int fd = open(path, O_RDWR);

    printf("%d%s\n", result_of(fd), fd >= 0 && errno != before ? " errno changed" : "");
}

static int add_rule(int fd, int profile, int rule)
{
    kxqos_rule_t record;

    memset(&record, 0, sizeof record);
    record.table_id = (uint16_t)profile;
    record.rule_id = (uint16_t)rule;
    return fd < 0 ? send_request(KXQOS_REQUEST(KXQOS_RULE_ADD), &record)
                  : send_on(fd, KXQOS_REQUEST(KXQOS_RULE_ADD), &record);
}

static int add_rules(int fd, int profile, int from, int to)
{
    int failures = 0;

    for (int rule = from; rule <= to; rule++)
        failures += add_rule(fd, profile, rule) != 0;
    return failures;
}

static void print_walk(int profile)
{
    kxqos_rule_t cursor;

    memset(&cursor, 0, sizeof cursor);
    cursor.table_id = (uint16_t)profile;
    while (send_request(KXQOS_REQUEST(KXQOS_RULE_NEXT), &cursor) == 0 && cursor.rule_id != 0)
        printf("%u\n", cursor.rule_id);
}

static void storm(int profile, int rules)
{
    kxqos_rule_t record;

    alarm(20); /* should nobody end it */
    memset(&record, 0, sizeof record);
    record.table_id = (uint16_t)profile;
    for (;;) {
        send_request(KXQOS_REQUEST(KXQOS_RULE_RESET), &record);
        add_rules(-1, profile, 1, rules);
    }
}

static void cut(const char *path)
{
    struct stat status;

    if (stat(path, &status) != 0)
        return;
    alarm(60); /* should nobody end it */
    while (truncate(path, 64) == 0 && truncate(path, status.st_size) == 0)
        continue;
}

static void flip(const char *path, unsigned seed, int count)
{
    enum { header = 64 };
    FILE *file = fopen(path, "r+b");
    struct stat status;

    if (file == NULL || fstat(fileno(file), &status) != 0) {
        perror("lab-client");
        exit(1);
    }
    srandom(seed);
    for (; count > 0; count--) {
        const long at = header + random() % (status.st_size - header);
        fseek(file, at, SEEK_SET);
        const int byte = fgetc(file);
        fseek(file, at, SEEK_SET);
        fputc(byte ^ (int)(1 + random() % 255), file);
    }
    fclose(file);
}

static int fork_and_add(void)
{
    const int fd = open(KXQOS_DEVICE, O_RDWR);
    int failures = 0;
    int status;

    for (int child = 0; child < 8; child++) {
        if (fork() == 0)
            _exit(add_rules(fd, 1, child * 20 + 1, child * 20 + 20));
    }
    while (wait(&status) > 0)
        failures += status != 0;
    return failures;
}

/* The library */

static const unsigned char mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
static uint64_t numbers[4];
static uint32_t speeds[2];

static void print_numbers(const char *name, int result)
{
    printf("%s = %d: %llu %llu %u %llu %llu %u\n", name, result, (unsigned long long)numbers[0],
           (unsigned long long)numbers[1], speeds[0], (unsigned long long)numbers[2], (unsigned long long)numbers[3],
           speeds[1]);
}

static void call_switch(void)
{
    struct in6_addr low;
    struct in6_addr high;
    int result;

    inet_pton(AF_INET6, "2001:db8::1", &low);
    inet_pton(AF_INET6, "2001:db8::ff", &high);
    printf("ipv4 = %d\n", (int)libkx_switchApi_ipv4SetRateLimit(0xc0a80101, 0xc0a80109, 1, 1, 2048));
    printf("ipv6 = %d\n", (int)libkx_switchApi_ipv6SetRateLimit(low, high, 0, 1, 512));
    errno = 0;
    result = (int)libkx_switchApi_vlanSetRateLimit(100, 1, 1, 1024);
    if (errno == 0)
        printf("vlan = %d\n", result);
    else
        printf("vlan = %d errno %d\n", result, errno);
    printf("port = %d\n", (int)libkx_switchApi_portSetRateLimit(3, 0, 1, 4294967295U));
}

static void call_statistics(void)
{
    int bucket = 0;
    int counter = 0;
    int result;

    result = (int)libkx_qos_OSGI_getCounterByFlow(7, 256, &numbers[0], &numbers[1], &speeds[0], &numbers[2],
                                                  &numbers[3], &speeds[1]);
    print_numbers("flow get", result);
    printf("flow clear = %d\n", (int)libkx_qos_OSGI_clearCounterByFlow(7, 256));
    result = (int)libkx_qos_hostEntryAdd(1, mac, 1, 100, 200, &bucket, &counter);
    printf("host add = %d: %d %d\n", result, bucket, counter);
    result =
        (int)libkx_qos_hostCounterGet(1, 1, &numbers[0], &numbers[1], &speeds[0], &numbers[2], &numbers[3], &speeds[1]);
    print_numbers("host get", result);
    printf("host clear = %d\n", (int)libkx_qos_hostCounterClear(1, 1));
    result = (int)libkx_qos_hostEntryDel(1, mac, &bucket, &counter);
    printf("host delete = %d: %d %d\n", result, bucket, counter);
    result = (int)libkx_netApi_getWanStats("ppp0", &numbers[0], &numbers[1], &numbers[2], &numbers[3]);
    print_numbers("wan get", result);
    printf("wan limit = %d\n", (int)libkx_netApi_setWanRateLimit("ppp0", 10, 20));
}

static void call_counters_and_buckets(void)
{
    uint32_t rate = 0;
    int number = 0;
    int result;

    result = (int)libkx_qos_create_counter(&number);
    printf("counter create = %d: %d\n", result, number);
    printf("counter created = %d\n", libkx_qos_is_counter_created(1));
    print_numbers("counter get", (int)libkx_qos_get_counter(1, &numbers[0], &numbers[1], &speeds[0]));
    printf("counter clear = %d\n", (int)libkx_qos_clear_counter(1));
    printf("counter delete = %d\n", (int)libkx_qos_delete_counter(1));
    number = 0;
    result = (int)libkx_qos_create_bucket(&number, 1000);
    printf("bucket create = %d: %d\n", result, number);
    printf("bucket created = %d\n", libkx_qos_is_bucket_created(1));
    result = (int)libkx_qos_get_bucket(1, &rate);
    printf("bucket get = %d: %u\n", result, rate);
    printf("bucket set = %d\n", (int)libkx_qos_set_bucket(1, 2000));
    printf("bucket delete = %d\n", (int)libkx_qos_delete_bucket(1));
}

static void call_rules(void)
{
    libkx_qos_rule_s rule;
    int result;

    memset(&rule, 0, sizeof rule);
    rule.profile_id = 1;
    rule.rule_id = 2;
    rule.action.queue = 5;
    printf("rule add = %d\n", (int)libkx_qos_add_rule(&rule));
    rule.action.queue = 0;
    result = (int)libkx_qos_get_rule(&rule);
    printf("rule get = %d: %u %u %u\n", result, rule.profile_id, rule.rule_id, rule.action.queue);
    memset(&rule, 0, sizeof rule);
    result = (int)libkx_qos_get_next_rule(&rule);
    printf("rule next = %d: %u %u %u\n", result, rule.profile_id, rule.rule_id, rule.action.queue);
    printf("rule delete = %d\n", (int)libkx_qos_delete_rule(1, 2));
}

int main(int argc, char **argv)
{
    const char *what = argc > 1 ? argv[1] : "";

    if (strcmp(what, "request") == 0 && argc == 4)
        print_request((unsigned)number_of(argv[2]), argv[3]);
    else if (strcmp(what, "encoding") == 0 && argc == 3)
        printf("%d\n", send_request((unsigned)strtoul(argv[2], NULL, 16), &numbers));
    else if (strcmp(what, "bad") == 0 && argc == 4)
        print_bad_request((unsigned)number_of(argv[2]), argv[3]);
    else if (strcmp(what, "open") == 0 && argc == 3)
        print_open(argv[2]);
    else if (strcmp(what, "rules") == 0 && argc == 5)
        return add_rules(-1, number_of(argv[2]), number_of(argv[3]), number_of(argv[4])) != 0;
    else if (strcmp(what, "walk") == 0 && argc == 3)
        print_walk(number_of(argv[2]));
    else if (strcmp(what, "storm") == 0 && argc == 3)
        storm(number_of(argv[2]), 60);
    else if (strcmp(what, "cut") == 0 && argc == 3)
        cut(argv[2]);
    else if (strcmp(what, "flip") == 0 && argc == 5)
        flip(argv[2], (unsigned)number_of(argv[3]), number_of(argv[4]));
    else if (strcmp(what, "fork") == 0 && argc == 2)
        return fork_and_add() != 0;
    else if (strcmp(what, "library") == 0 && argc == 2) {
        call_switch();
        call_statistics();
        call_counters_and_buckets();
        call_rules();
    } else {
        fprintf(stderr, "lab-client: bad use\n");
        return 2;
    }
    return 0;
}
