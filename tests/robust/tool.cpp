#include "tool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
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
    signal(SIGPIPE, SIG_IGN);
}

void reboot()
{
    unlink((place + "/state").c_str());
}

static std::string take_file(const std::string &path)
{
    std::string text;
    FILE *file = fopen(path.c_str(), "r");
    if (file == nullptr)
        return text;
    char block[65536];
    for (size_t size = fread(block, 1, sizeof block, file); size != 0; size = fread(block, 1, sizeof block, file))
        text.append(block, size);
    fclose(file);
    return text;
}

static void set_output(standard_output kind, int kept)
{
    int ends[2];
    switch (kind) {
    case standard_output::kept:
        dup2(kept, 1);
        break;
    case standard_output::closed:
        close(1);
        break;
    case standard_output::full:
        dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), 1);
        break;
    default:
        if (pipe2(ends, O_CLOEXEC) != 0)
            _exit(126);
        dup2(ends[1], 1);
        close(ends[0]);
        break;
    }
    signal(SIGPIPE, kind == standard_output::broken ? SIG_IGN : SIG_DFL);
}

[[noreturn]] static void become_tool(const words &arguments, const run_options &options, int out, int err)
{
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), 0);
    dup2(err, 2);
    set_output(options.output, out);
    std::string preload = build + "/" + (options.walk.empty() ? "libkxqos-lab.so" : "libendless.so");
    if (!options.limit.empty())
        preload += ":" + build + "/liblimits.so";
    setenv("LD_PRELOAD", preload.c_str(), 1);
    setenv("KXQOS_LAB_STATE", (place + "/state").c_str(), 1);
    setenv("KXQOS_LAB_TRACE", (place + "/trace").c_str(), 1);
    setenv("ROBUST_LIMIT", options.limit.c_str(), 1);
    setenv("ROBUST_WALK", options.walk.c_str(), 1);
    const std::string tool = build + "/kxqosctl";
    std::vector<char *> argv = {strdup("kxqosctl")};
    for (const std::string &word : arguments)
        argv.push_back(strdup(word.c_str()));
    argv.push_back(nullptr);
    execv(tool.c_str(), argv.data());
    perror("exec");
    _exit(126);
}

run_result run_tool(const words &arguments, const run_options &options)
{
    const std::string outPath = place + "/out";
    const std::string errPath = place + "/err";
    close(open((place + "/trace").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const pid_t child = fork();
    if (child == 0)
        become_tool(arguments, options, out, err);
    close(out);
    close(err);
    if (options.killAfter >= 0) {
        usleep(static_cast<useconds_t>(options.killAfter));
        kill(child, SIGTERM);
    }
    run_result result;
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    result.output = take_file(outPath);
    result.error = take_file(errPath);
    result.trace = take_file(place + "/trace");
    return result;
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
}

int verdict()
{
    for (const char *name : {"/state", "/trace", "/out", "/err"})
        unlink((place + name).c_str());
    rmdir(place.c_str());
    printf("%d failures\n", failures);
    return failures == 0 ? 0 : 1;
}

static words sentence(const char *text)
{
    words result(1);
    for (; *text != '\0'; text++) {
        if (*text == ' ')
            result.emplace_back();
        else
            result.back() += *text;
    }
    return result;
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
        all.push_back(sentence(text));
    return all;
}

const std::vector<words> forms = sentences();
