#include "tool.h"

#include "gateway.h"
#include "text.h"

#include <fcntl.h>
#include <memory>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static std::string build;
static std::string place; // of state and trace
static int failures;

void find_tool(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s BUILD\n", argv[0]);
        exit(2);
    }
    build = argv[1];
    char name[] = "/tmp/kxqos-robust-XXXXXX";
    if (mkdtemp(name) == nullptr)
        exit(2);
    place = name;
}

void reboot()
{
    unlink((place + "/state").c_str());
}

// Returns where it is.
static std::string write_session(const std::string &fault)
{
    const auto session = std::make_unique<gateway_session>();
    std::string path = place + "/session";
    const char *wrong = gateway_read_fault(fault.c_str(), &session->faults[0]);
    session->fault_count = 1;
    FILE *file = fopen(path.c_str(), "w");
    if (wrong != nullptr || file == nullptr ||
        fwrite(session.get(), offsetof(gateway_session, faults) + sizeof session->faults[0], 1, file) != 1 ||
        fclose(file) != 0) {
        printf("%s: %s\n", fault.c_str(), wrong != nullptr ? wrong : path.c_str());
        exit(2);
    }
    return path;
}

run_result run_tool(const words &arguments, const run_options &options)
{
    const std::string trace = place + "/trace";
    close(open(trace.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    const char *device = options.alone ? "libalone.so" : options.walk.empty() ? "libkxqos-lab.so" : "libendless.so";
    std::string preload = build + "/" + device;
    if (!options.limit.empty())
        preload += ":" + build + "/liblimits.so";
    Command command;
    command.words = {build + "/kxqosctl"};
    command.words.insert(command.words.end(), arguments.begin(), arguments.end());
    command.environment = {"LD_PRELOAD=" + preload, "KXQOS_LAB_STATE=" + place + "/state", "KXQOS_LAB_TRACE=" + trace,
                           "ROBUST_LIMIT=" + options.limit, "ROBUST_WALK=" + options.walk};
    if (!options.fault.empty())
        command.environment.push_back("KXQOS_LAB_SESSION=" + write_session(options.fault));
    command.standard_output = options.output;
    command.terminate_after = options.killAfter;
    const Outcome outcome = run(command);
    return {outcome.status, outcome.output, outcome.errors, contents(trace), outcome.writes};
}

void check(bool condition, std::string_view what, const words &arguments)
{
    if (condition)
        return;
    failures++;
    printf("%.*s: kxqosctl", static_cast<int>(what.size()), what.data());
    for (const std::string &word : arguments)
        printf(" %.40s%s", word.c_str(), word.size() > 40 ? "..." : "");
    printf("\n");
    if (failures == 50) // enough
        exit(verdict());
}

int verdict()
{
    for (const char *name : {"/state", "/trace", "/session"})
        unlink((place + name).c_str());
    rmdir(place.c_str());
    printf("%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}

bool in_order(const std::string &trace)
{
    static const char *const events[] = {"open 2 = ", "request ", "close"};
    int next = 0;
    for (size_t at = 0; at < trace.size();) {
        const size_t end = trace.find('\n', at);
        if (end == std::string::npos) // half a line
            return false;
        const std::string line = trace.substr(at, end - at);
        at = end + 1;
        if (line.starts_with("call "))
            continue;
        if (!line.starts_with(events[next]))
            return false;
        if (next == 1 && (line.find(" sent ") == std::string::npos || line.find(" returned ") == std::string::npos))
            return false;
        next = line.starts_with("open 2 = -") ? 0 : (next + 1) % 3;
    }
    return true;
}

static std::vector<words> sentences()
{
    static const char *const texts[] = {
        "?",
        "rule 5 match dmac 00:11:22:33:44:55 action queue 3",
        "rule 5 profile qos match smac 00:11:22:33:44:55/ff:ff:ff:00:00:00 vid 5 action dscp 3",
        "rule 6 profile lanhost match ethertype 0x800 tpid 5 pri 1 ivid 3 ipri 2 action 8021p 1",
        "rule 7 profile 3 match dip 10.0.0.1/24 sip 10.0.0.1~10.0.0.9 action counter 7",
        "rule 8 profile osgiflow match dip6 2001:db8::1/64 sip6 2001:db8::1~2001:db8::9 action rate-bucket 7",
        "rule 9 match tos 5/0xff dscp 1~3 pre 1 fl 5 tc 6 protocol 17 action dbgon",
        "rule 10 match sport 5~6 dport !7 rxports 3 txports 4 indev eth0 action bypass-kxnat",
        "rule 11 match outdev eth1 wan ppp0 edmac 00:11:22:33:44:55 esip 1.2.3.4 action sw-fwd",
        "rule 12 match esip6 2001:db8::5 esport 6 protocols 3 action queue 1 dscp 2",
        "rule 13 profile hardacc action queue 1",
        "rule 5 show",
        "rule 6 profile lanhost show",
        "rule 13 profile hardacc delete",
        "bucket 7 rate 1000",
        "bucket 7 show",
        "bucket show",
        "bucket 7 delete",
        "debug info on",
        "debug all off",
        "debug show",
        "debug ?",
        "configuration show",
        "qos enable",
        "limit up mode ip",
        "limit up add ip 10.0.0.1~10.0.0.9 rate 64",
        "limit up add ip6 2001:db8::1~2001:db8::9 rate 64",
        "limit up delete ip 10.0.0.1~10.0.0.9 rate 0",
        "limit down mode vlan",
        "limit down add vlan 5 rate 128",
        "limit down add port 3 rate 128",
        "limit show",
        "counter 7 enable",
        "counter 7 show",
        "counter show",
        "counter clear",
        "counter 7 disable",
        "queue show",
        "puredscpremark enable",
        "fine-classifi disable",
        "refresh enable",
        "reset profile bridgedata",
        "test osgi 1 counter 2 show",
        "test osgi 1 counter 2 clear",
        "test host 5 add 00:11:22:33:44:55 1 64 128 3 4",
        "test host 5 counter 4 show",
        "test host 5 del 00:11:22:33:44:55 3 4",
        "test wan wan0 counter",
        "test wan wan0 rate 64 128",
        "test api",
        "unknown command",
    };
    std::vector<words> all;
    for (const char *text : texts)
        all.push_back(split(text, ' '));
    return all;
}

const std::vector<words> forms = sentences();
