// Replies: a hostile gateway. Input: one byte for what is asked, one for what is answered when the bytes are used up,
// then the answers: a control byte for each (0xFF: failure; 0xF0 on: a result above 0; odd: the record as it was sent)
// and the bytes of its record.
#include "config_program.h"
#include "inputs.h"

#include <errno.h>
#include <iterator>
#include <string.h>

static const std::vector<std::string> verbs[] = {
    {"show"},
    {"show", "--json"},
    {"save", "-"},
    {"save", "--lossy", "-"},
    {"diff", "-"},
    {"apply", "-"},
    {"apply", "--keep-going", "-"},
    {"run", "--keep-going", "-"},
};
static_assert(std::size(verbs) == config_verbs_of_replies);

static constexpr char file[] = "rule 5 match vid 7 action rate-bucket 3\n"
                               "rule 7 profile lanhost match sip6 2001:db8::/32 indev eth0 action dscp 5\n"
                               "bucket 3 rate 100\n"
                               "limit up mode vlan\n"
                               "limit up add vlan 3 rate 64\n"
                               "limit up add ip 1.2.3.4~1.2.3.9 rate 5\n"
                               "limit down mode port\n"
                               "limit down add port 3 rate 10\n"
                               "puredscpremark enable\n"
                               "qos enable\n"
                               "counter 9 enable\n"
                               "counter 8 disable\n"
                               "debug info on\n"
                               "refresh enable\n";

static const uint8_t *answers;
static size_t left;
static const uint8_t *all;
static size_t allSize;
static tail after;
static bool cutOff; // a walk of the tool's own, whose end, after 65,535 steps, is tested from outside

static int answer_behind_the_end(void *payload, size_t size)
{
    switch (after) {
    case tail::zeros:
        memset(payload, 0, size);
        return 0;
    case tail::failure:
        return -EIO;
    case tail::positive:
        return 7;
    default:
        return 0;
    }
}

static int answer(uint32_t request, void *payload)
{
    const size_t size = model_payload_size(request);
    if (cutOff && found.requests > 2000)
        return -EIO;
    if (left == 0 && after == tail::repeat) {
        answers = all;
        left = allSize;
    }
    if (left == 0)
        return answer_behind_the_end(payload, size);
    const uint8_t control = *answers++;
    left--;
    if (control == 0xFF)
        return -EIO;
    if ((control & 1) == 0) {
        const size_t some = left < size ? left : size;
        memset(payload, 0, size);
        memcpy(payload, answers, some);
        answers += some;
        left -= some;
    }
    return control >= 0xF0 ? control - 0xEF : 0;
}

static ran ask(const std::vector<std::string> &words)
{
    answers = all;
    left = allSize;
    return run_config(words, file);
}

// Nothing is removed or set on account of what could not be read.
static void check_apply(const ran &ran)
{
    if (found.changes == 0 || found.failures == 0)
        return;
    check(ran.status != 0, "something could not be read, and yet it is told as done");
}

static void check_output(const std::vector<std::string> &words, const ran &ran)
{
    if (words[0] == "save" && ran.status == 0) {
        const std::string saved = ran.output;
        check(run_config({"check", "-"}, saved).status == 0, "what was saved is not right");
    } else if (words[0] == "save" || words.size() == 2) {
        check(ran.status == 0 || words[0] == "diff" || ran.output.empty(), "something is printed, and yet it failed");
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const std::vector<std::string> &words = verbs[data[0] % std::size(verbs)];
    after = static_cast<tail>(data[1] % static_cast<int>(tail::count));
    all = data + 2;
    allSize = size - 2;
    found.answer = answer;
    cutOff = words[0] == "show" || words[0] == "run";
    const ran ran = ask(words);
    if (words[0] == "apply" && words.size() == 2)
        check_apply(ran);
    else if (words[0] != "run" && words[0] != "apply")
        check(found.changes == 0, "looking at the gateway changes it");
    check(ran.status != 2, "a gateway that answers is taken for none");
    check_output(words, ran);
    return 0;
}
