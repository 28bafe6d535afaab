#include "gateway.h"

#ifdef __KERNEL__
#include <linux/errno.h>
#else
#include <errno.h>
#endif

/* Faults */

struct event_kind {
    uint32_t where;
    uint32_t request; /* the whole number */
    const char *function;
};

static bool counts(const struct gateway_fault *fault, const struct event_kind *event)
{
    switch (fault->where) {
    case GATEWAY_ANY_REQUEST:
        return event->where == GATEWAY_REQUEST;
    case GATEWAY_REQUEST:
        return event->where == GATEWAY_REQUEST && event->request == KXQOS_REQUEST(fault->request);
    case GATEWAY_CALL:
        return event->where == GATEWAY_CALL && text_same(fault->function, event->function);
    default:
        return event->where == fault->where;
    }
}

/* Counts the event in every rule that it belongs to. Gives the first one that strikes, or null. */
static const struct gateway_fault *strike(struct gateway_session *session, const struct event_kind *event)
{
    const struct gateway_fault *striking = NULL;

    if (session == NULL)
        return NULL;
    for (uint32_t i = 0; i < session->fault_count && i < GATEWAY_FAULTS; i++) {
        struct gateway_fault *fault = &session->faults[i];
        if (!counts(fault, event))
            continue;
        fault->seen++;
        if (striking == NULL && (fault->nth == 0 || fault->nth == fault->seen))
            striking = fault;
    }
    return striking;
}

void gateway_overwrite(const struct gateway_fault *fault, void *record, size_t size)
{
    uint8_t *bytes = record;

    for (size_t i = 0; i < size; i++) {
        if (fault->is_written[i] != 0)
            bytes[i] = fault->written[i];
    }
}

/* The trace */

static void start_line(struct gateway_line *line, const char *event)
{
    line->text = text_in(line->buffer, sizeof line->buffer);
    text_words(&line->text, event);
}

static void end_line(struct gateway_line *line, int result)
{
    text_words(&line->text, " = ");
    text_signed(&line->text, result);
    text_char(&line->text, '\n');
}

static void add_payload(struct gateway_line *line, const char *label, const void *payload, size_t size)
{
    text_words(&line->text, label);
    if (payload == NULL || size == 0)
        text_char(&line->text, '-');
    else
        text_bytes(&line->text, payload, size);
}

static void add_request(struct gateway_line *line, uint32_t request)
{
    if (request == KXQOS_REQUEST(request & 0xff)) {
        text_number(&line->text, request & 0xff);
    } else {
        text_words(&line->text, "0x");
        text_hex(&line->text, request, 8);
    }
}

/* Events */

int gateway_open(struct gateway_session *session, int flags, struct gateway_line *line)
{
    const struct event_kind event = {GATEWAY_OPEN, 0, NULL};
    const struct gateway_fault *fault = strike(session, &event);
    const int result = fault != NULL ? -fault->error : 0;

    start_line(line, "open ");
    text_signed(&line->text, flags);
    end_line(line, result);
    return result;
}

static int carry_out(const struct gateway_fault *fault, struct model *model, uint32_t request, void *payload)
{
    const size_t size = model_payload_size(request);
    int result;

    if (fault != NULL && fault->fails)
        return -fault->error;
    if (payload == NULL && size != 0)
        return -EFAULT;
    result = model_request(model, request, payload);
    if (fault == NULL)
        return result;
    if (fault->has_bytes) {
        gateway_overwrite(fault, payload, size);
        result = 0;
    }
    return fault->has_result ? fault->result : result;
}

int gateway_request(struct gateway_session *session, struct model *model, uint32_t request, void *payload,
                    struct gateway_line *line, bool *killed)
{
    const struct event_kind event = {GATEWAY_REQUEST, request, NULL};
    const struct gateway_fault *fault = strike(session, &event);
    const size_t size = model_payload_size(request);
    uint8_t sent[MODEL_PAYLOAD_MAX];
    int result;

    if (payload != NULL)
        memcpy(sent, payload, size);
    result = carry_out(fault, model, request, payload);
    *killed = fault != NULL && fault->kills;
    start_line(line, "request ");
    add_request(line, request);
    text_words(&line->text, " = ");
    text_signed(&line->text, result);
    add_payload(line, " sent ", payload == NULL ? NULL : sent, size);
    add_payload(line, " returned ", payload, size);
    text_char(&line->text, '\n');
    return result;
}

void gateway_close(struct gateway_line *line)
{
    start_line(line, "close\n");
}

const struct gateway_fault *gateway_call(struct gateway_session *session, const char *function,
                                         struct gateway_line *line)
{
    const struct event_kind event = {GATEWAY_CALL, 0, function};

    start_line(line, "call ");
    text_words(&line->text, function);
    return strike(session, &event);
}

void gateway_call_result(int result, struct gateway_line *line)
{
    end_line(line, result);
}
