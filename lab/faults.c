/* Fault rules as they are typed: WHERE#N=WHAT[,WHAT...]. */
#include "errors.h"
#include "gateway.h"

#include "libkx.h"

#ifdef __KERNEL__
#include <linux/errno.h>
#else
#include <errno.h>
#endif

/* The kernel has no UINT32_MAX and its like. */
static const uint64_t max_result = 0x7fffffff;
static const uint64_t max_32 = 0xffffffff;
static const uint64_t max_64 = 0xffffffffffffffff;

/* The library's functions and what they give beside their result, which a fault can then replace. */
struct function {
    char name[GATEWAY_FUNCTION_NAME];
    uint8_t numbers;     /* how many of the outputs are numbers: all or none */
    uint8_t record_size; /* of the output that is a record, 0 for none */
};

static const struct function functions[] = {
    {"libkx_switchApi_ipv4SetRateLimit", 0, 0},
    {"libkx_switchApi_ipv6SetRateLimit", 0, 0},
    {"libkx_switchApi_vlanSetRateLimit", 0, 0},
    {"libkx_switchApi_portSetRateLimit", 0, 0},
    {"libkx_qos_OSGI_getCounterByFlow", 6, 0},
    {"libkx_qos_OSGI_clearCounterByFlow", 0, 0},
    {"libkx_qos_hostEntryAdd", 2, 0},
    {"libkx_qos_hostEntryDel", 2, 0},
    {"libkx_qos_hostCounterGet", 6, 0},
    {"libkx_qos_hostCounterClear", 0, 0},
    {"libkx_netApi_getWanStats", 4, 0},
    {"libkx_netApi_setWanRateLimit", 0, 0},
    {"libkx_qos_create_counter", 1, 0},
    {"libkx_qos_is_counter_created", 0, 0},
    {"libkx_qos_get_counter", 3, 0},
    {"libkx_qos_clear_counter", 0, 0},
    {"libkx_qos_delete_counter", 0, 0},
    {"libkx_qos_create_bucket", 1, 0},
    {"libkx_qos_is_bucket_created", 0, 0},
    {"libkx_qos_get_bucket", 1, 0},
    {"libkx_qos_set_bucket", 0, 0},
    {"libkx_qos_delete_bucket", 0, 0},
    {"libkx_qos_add_rule", 0, 0},
    {"libkx_qos_get_rule", 0, sizeof(libkx_qos_rule_s)},
    {"libkx_qos_delete_rule", 0, 0},
    {"libkx_qos_get_next_rule", 0, sizeof(libkx_qos_rule_s)},
};

/* Null for an event that is no call. */
static const struct function *function_of(const struct gateway_fault *fault)
{
    for (unsigned i = 0; i < sizeof functions / sizeof functions[0]; i++) {
        if (fault->where == GATEWAY_CALL && text_same(fault->function, functions[i].name))
            return &functions[i];
    }
    return NULL;
}

/* Readers: each takes what it reads off the front of *at, and gives false when that is not there. */

static bool take(const char **at, const char *words)
{
    const char *from = *at;

    while (*words != '\0') {
        if (*from++ != *words++)
            return false;
    }
    *at = from;
    return true;
}

static bool take_number(const char **at, uint64_t max, uint64_t *number)
{
    const char *from = *at;

    *number = 0;
    for (; **at >= '0' && **at <= '9'; (*at)++) {
        const unsigned digit = (unsigned)(**at - '0');
        if (digit > max || *number > (max - digit) / 10)
            return false;
        *number = *number * 10 + digit;
    }
    return *at != from;
}

static bool take_digit(const char **at, uint8_t *digit)
{
    const char c = **at;

    if (c >= '0' && c <= '9')
        *digit = (uint8_t)(c - '0');
    else if (c >= 'a' && c <= 'f')
        *digit = (uint8_t)(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F')
        *digit = (uint8_t)(c - 'A' + 10);
    else
        return false;
    (*at)++;
    return true;
}

static bool take_byte(const char **at, uint8_t *byte)
{
    uint8_t high;
    uint8_t low;

    if (!take_digit(at, &high) || !take_digit(at, &low))
        return false;
    *byte = (uint8_t)(high << 4 | low);
    return true;
}

/* The parts. Each gives null, or what is wrong. */

static const char *read_function(const char **at, struct gateway_fault *fault)
{
    size_t length = 0;

    while ((*at)[length] != '\0' && (*at)[length] != '#' && length + 1 < GATEWAY_FUNCTION_NAME) {
        fault->function[length] = (*at)[length];
        length++;
    }
    *at += length;
    fault->where = GATEWAY_CALL;
    if (function_of(fault) == NULL)
        return "WHERE is open, request, the number of a request, or a function of the library";
    return NULL;
}

static const char *read_where(const char **at, struct gateway_fault *fault)
{
    uint64_t number;

    if (**at >= '0' && **at <= '9') {
        fault->where = GATEWAY_REQUEST;
        if (!take_number(at, 255, &number))
            return "the number of a request is at most 255";
        fault->request = (uint32_t)number;
        return NULL;
    }
    if (take(at, "open#")) {
        fault->where = GATEWAY_OPEN;
    } else if (take(at, "request#")) {
        fault->where = GATEWAY_ANY_REQUEST;
    } else {
        return read_function(at, fault);
    }
    (*at)--; /* the "#" is for the next reader */
    return NULL;
}

static const char *read_nth(const char **at, struct gateway_fault *fault)
{
    uint64_t number = 0;

    if (!take(at, "#"))
        return "a # stands after WHERE";
    if (take(at, "*"))
        return NULL;
    if (!take_number(at, max_32, &number) || number == 0)
        return "N is * or a number from 1 on";
    fault->nth = (uint32_t)number;
    return NULL;
}

static bool is_request(const struct gateway_fault *fault)
{
    return fault->where == GATEWAY_REQUEST || fault->where == GATEWAY_ANY_REQUEST;
}

/* The bytes from an offset on. */
static const char *read_hex(const char **at, uint64_t offset, size_t size, struct gateway_fault *fault)
{
    uint8_t byte;

    for (; **at != '\0' && **at != ','; offset++) {
        if (!take_byte(at, &byte))
            return "HEX has two hexadecimal digits for each byte";
        if (offset >= size)
            return "HEX goes beyond the payload or record";
        fault->is_written[offset] = 1;
        fault->written[offset] = byte;
    }
    fault->has_bytes = 1;
    return NULL;
}

/* OFFSET:HEX */
static const char *read_bytes(const char **at, struct gateway_fault *fault)
{
    const size_t known = model_payload_size(KXQOS_REQUEST(fault->request));
    const size_t size = fault->where == GATEWAY_REQUEST && known != 0 ? known : MODEL_PAYLOAD_MAX;
    uint64_t offset;

    if (!is_request(fault))
        return "bytes is for requests";
    if (!take_number(at, size - 1, &offset))
        return "bytes begins with an offset within the payload";
    if (!take(at, ":") || **at == '\0' || **at == ',')
        return "bytes is bytes:OFFSET:HEX";
    return read_hex(at, offset, size, fault);
}

static const char *read_result(const char **at, struct gateway_fault *fault)
{
    uint64_t number;

    if (!take_number(at, max_result, &number))
        return "a result is 0 to 2147483647";
    fault->has_result = 1;
    fault->result = (int32_t)number;
    return NULL;
}

/* OFFSET=HEX */
static const char *read_record(const char **at, size_t size, struct gateway_fault *fault)
{
    uint64_t offset;

    if (!take_number(at, size - 1, &offset))
        return "the value of a record begins with an offset within it";
    if (!take(at, "=") || **at == '\0' || **at == ',')
        return "the value of a record is value:OFFSET=HEX";
    return read_hex(at, offset, size, fault);
}

static const char *read_value(const char **at, struct gateway_fault *fault)
{
    const struct function *function = function_of(fault);

    if (function != NULL && function->record_size != 0)
        return read_record(at, function->record_size, fault);
    if (function == NULL || function->numbers == 0)
        return "value is for functions of the library that give a number or a record";
    if (fault->value_count == function->numbers)
        return "the function does not give as many numbers";
    if (!take_number(at, max_64, &fault->values[fault->value_count]))
        return "a value is a number from 0 on";
    fault->value_count++;
    return NULL;
}

/* Nothing, or :NAME */
static const char *read_failure(const char **at, struct gateway_fault *fault)
{
    char name[GATEWAY_FUNCTION_NAME] = "";
    size_t length = 0;

    fault->fails = 1;
    if (!take(at, ":")) {
        if (fault->where != GATEWAY_CALL)
            fault->error = fault->where == GATEWAY_OPEN ? ENOENT : EIO;
        return NULL;
    }
    while (**at != '\0' && **at != ',' && length + 1 < sizeof name)
        name[length++] = *(*at)++;
    fault->error = error_number(name);
    return fault->error != 0 ? NULL : "fail is fail:NAME for an error with a name, as EINTR";
}

static const char *read_what(const char **at, struct gateway_fault *fault)
{
    if (take(at, "bytes:"))
        return read_bytes(at, fault);
    if (take(at, "result:"))
        return read_result(at, fault);
    if (take(at, "value:"))
        return read_value(at, fault);
    if (take(at, "fail"))
        return read_failure(at, fault);
    if (take(at, "kill"))
        fault->kills = 1;
    else
        return "WHAT is fail, fail:NAME, result:R, bytes:OFFSET:HEX, value:V or kill";
    return NULL;
}

static const char *check_combination(const struct gateway_fault *fault, unsigned parts)
{
    if ((fault->fails || fault->kills) && parts > 1)
        return "fail and kill stand alone";
    if (fault->kills && !is_request(fault))
        return "kill is for requests";
    if (fault->where == GATEWAY_OPEN && !fault->fails)
        return "an open can only fail";
    return NULL;
}

const char *gateway_read_fault(const char *typed, struct gateway_fault *fault)
{
    const char *at = typed;
    const char *wrong;
    unsigned parts = 0;

    memset(fault, 0, sizeof *fault);
    wrong = read_where(&at, fault);
    if (wrong == NULL)
        wrong = read_nth(&at, fault);
    if (wrong == NULL && !take(&at, "="))
        wrong = "a = stands after N";
    do {
        if (wrong == NULL)
            wrong = read_what(&at, fault);
        parts++;
    } while (wrong == NULL && take(&at, ","));
    if (wrong == NULL && *at != '\0')
        wrong = "WHAT is fail, fail:NAME, result:R, bytes:OFFSET:HEX, value:V or kill";
    return wrong != NULL ? wrong : check_combination(fault, parts);
}
