// Pairs of configurations made at random: what applying the one to a gateway that holds the other does.
//   property-pairs [--seed N] [--pairs N] [--write FOLDER]
// Prints the seed. Stops at the first pair that fails, and prints as little of it as fails. --write only writes the
// pairs into files, for a test from outside.

#include "gateway.h"
#include "program.h"
#include "random_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

using Lines = std::vector<std::string>;

static Program tool;
static Program config;

struct Failed {
    std::string what;
};

static void require(bool condition, const std::string &what)
{
    if (!condition)
        throw Failed{what};
}

struct Untyped : Failed {};

static std::string text_of(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + "\n";
    return text;
}

static Lines words_of(const std::string &line)
{
    Lines words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// A gateway that was just switched on, and the lines typed into it one by one.
static World typed(const Lines &lines)
{
    switch_on();
    start_events();
    for (const std::string &line : lines) {
        const Lines words = words_of(line);
        if (words.empty() || words[0] == "!" || words[0][0] == '#')
            continue;
        const Ran ran = run_program(tool, words);
        if (ran.status != 0)
            throw Untyped{{"the tool refuses: " + line}};
    }
    return world;
}

// What a gateway holds, as texts

struct Limits {
    std::string mode;
    std::vector<std::pair<std::string, std::string>> entries; // key and rate

    bool operator==(const Limits &) const = default;
};

struct Held {
    std::map<std::pair<std::string, std::string>, std::string> rules; // by profile and number
    std::map<std::string, std::string> buckets;
    std::map<std::string, Limits> limits; // by direction
    std::vector<std::string> switches;    // the lines that tell them
    std::set<std::vector<uint32_t>> switched;
    std::vector<bool> counters;
    uint32_t debug = 0;
    uint32_t refresh = 0;

    bool operator==(const Held &) const = default;
};

static std::set<std::vector<uint32_t>> limits_in_switch()
{
    std::set<std::vector<uint32_t>> set;
    for (const library_limit &limit : world.switched.limits) {
        if (limit.kind == LIBRARY_NO_LIMIT)
            continue;
        std::vector<uint32_t> numbers = {limit.kind, limit.direction, limit.rate};
        for (const ip_addr_t *address : {&limit.min, &limit.max}) {
            uint32_t parts[4];
            memcpy(parts, address, sizeof parts);
            numbers.insert(numbers.end(), parts, parts + 4);
        }
        set.insert(numbers);
    }
    return set;
}

// The mask of protocol bits is in no line.
static std::string unseen_mask(const std::string &profile, const std::string &id)
{
    static const std::map<std::string, unsigned> numbers = {
        {"qos", 0}, {"osgiflow", 1}, {"lanhost", 2}, {"bridgedata", 3}, {"hardacc", 4}};
    const kxqos_rule_t *rule = model_rule(&world.module, numbers.at(profile), static_cast<unsigned>(std::stoul(id)));
    const bool selected = (rule->fieldSel[KXQOS_MATCH_IPPROTO_BITS / 8] >> KXQOS_MATCH_IPPROTO_BITS % 8 & 1) != 0;
    return selected ? " mask " + std::to_string(rule->mask.ipProtocol) : "";
}

static void hold_line(const std::string &line, Held *held)
{
    const Lines words = words_of(line);
    if (words[0] == "rule")
        held->rules[{words[3], words[1]}] = line + unseen_mask(words[3], words[1]);
    else if (words[0] == "bucket")
        held->buckets[words[1]] = line;
    else if (words[0] == "limit" && words[2] == "mode")
        held->limits[words[1]].mode = words[3];
    else if (words[0] == "limit")
        held->limits[words[1]].entries.push_back({words[3] + " " + words[4], words[6]});
    else if (words[0] != "!")
        held->switches.push_back(line);
}

// As the tool shows it, and what it does not show.
static Held held_by_world()
{
    end_faults();
    const std::vector<Event> before = events;
    const Ran ran = run_program(tool, {"configuration", "show"});
    events = before;
    require(ran.status == 0, "the tool cannot show the configuration");
    Held held;
    std::istringstream stream(ran.output);
    for (std::string line; std::getline(stream, line);)
        hold_line(line, &held);
    held.switched = limits_in_switch();
    for (const model_counter &counter : world.module.counters)
        held.counters.push_back(counter.enabled != 0);
    held.debug = world.module.debug_flags;
    held.refresh = world.module.refresh_suppressed;
    return held;
}

static Held held_by(const World &other)
{
    world = other;
    return held_by_world();
}

// What a file names of what is governed one by one

struct Named {
    std::set<size_t> counters;
    uint32_t debug = 0;
    bool refresh = false;
};

static Named named_by(const Lines &lines)
{
    static const char *const categories[] = {"info",  "warnning", "error",        "packet",   "pre-match",
                                             "match", "action",   "fineclassifi", "ratelimit"};
    Named named;
    for (const std::string &line : lines) {
        const Lines words = words_of(line);
        if (words.empty())
            continue;
        if (words[0] == "counter")
            named.counters.insert(std::stoul(words[1], nullptr, 0));
        for (size_t i = 0; words[0] == "debug" && i < std::size(categories); i++)
            if (words[1] == categories[i] || words[1] == "all")
                named.debug |= 1U << i;
        named.refresh = named.refresh || words[0] == "refresh";
    }
    return named;
}

// The end that is wanted, of a gateway that holds a when b is applied; b is what a new gateway holds with its lines.
static Held wanted_end(const Held &a, const Held &b, const Named &named)
{
    Held wanted = b;
    for (size_t i = 0; i < wanted.counters.size(); i++)
        if (!named.counters.contains(i + 1))
            wanted.counters[i] = a.counters[i];
    wanted.debug = (b.debug & named.debug) | (a.debug & ~named.debug);
    if (!named.refresh)
        wanted.refresh = a.refresh;
    return wanted;
}

// The least that has to be sent

struct Least {
    size_t requests = 0; // without a refresh
    size_t calls = 0;
};

template <typename Map> static size_t count_differing(const Map &a, const Map &b)
{
    size_t count = 0;
    for (const auto &[key, text] : b)
        count += a.count(key) == 0 || a.at(key) != text;
    for (const auto &[key, text] : a)
        count += b.count(key) == 0;
    return count;
}

static size_t count_rules(const Held &a, const Held &b)
{
    size_t count = 0;
    for (const char *profile : {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"}) {
        std::map<std::string, std::string> former;
        std::map<std::string, std::string> later;
        for (const auto &[key, line] : a.rules)
            if (key.first == profile)
                former[key.second] = line;
        for (const auto &[key, line] : b.rules)
            if (key.first == profile)
                later[key.second] = line;
        count += later.empty() ? !former.empty() : count_differing(former, later);
    }
    return count;
}

static std::map<std::string, std::string> in_force(const Limits &limits)
{
    std::map<std::string, std::string> entries;
    for (const auto &[key, rate] : limits.entries)
        if (key.rfind(limits.mode, 0) == 0)
            entries[key] = rate;
    return entries;
}

// A limit that changes its rate is removed and installed.
static size_t count_limit_calls(const Limits &a, const Limits &b)
{
    const auto former = in_force(a);
    const auto later = in_force(b);
    size_t count = 0;
    for (const auto &[key, rate] : former)
        count += !later.contains(key) || later.at(key) != rate;
    for (const auto &[key, rate] : later)
        count += !former.contains(key) || former.at(key) != rate;
    return count;
}

static size_t count_switches(const Held &a, const Held &b)
{
    size_t count = 0;
    for (const char *line : {"qos enable", "puredscpremark enable ", "fine-classifi disable "}) {
        const auto has = [&](const Held &held) {
            return std::find(held.switches.begin(), held.switches.end(), line) != held.switches.end();
        };
        count += has(a) != has(b);
    }
    return count;
}

static Least least_between(const Held &a, const Held &b)
{
    Least least;
    least.requests = count_rules(a, b) + count_differing(a.buckets, b.buckets) + count_switches(a, b);
    for (const char *direction : {"up", "down"}) {
        if (a.limits.at(direction) != b.limits.at(direction))
            least.requests += 2;
        least.calls += count_limit_calls(a.limits.at(direction), b.limits.at(direction));
    }
    for (size_t i = 0; i < a.counters.size(); i++)
        least.requests += a.counters[i] != b.counters[i];
    least.requests += a.debug != b.debug;
    return least;
}

// What must hold at each moment of an apply

struct Order {
    Held before;
    Held after;
    std::string wrong; // the first thing that was
};

static Order *watched;

// What is in both stays there.
static void watch_what_stays(const Order &order)
{
    for (const auto &[key, line] : order.before.rules) {
        const auto later = order.after.rules.find(key);
        if (later == order.after.rules.end() || later->second != line)
            continue;
        static const char *const profiles[] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
        for (unsigned profile = 0; profile < KXQOS_PROFILE_MAX; profile++)
            if (key.first == profiles[profile] &&
                model_rule(&world.module, profile, static_cast<unsigned>(std::stoul(key.second)))->rule_id == 0)
                watched->wrong = "a rule that stays was removed: " + line;
    }
    for (const auto &[key, line] : order.before.buckets)
        if (order.after.buckets.contains(key) && world.module.buckets[std::stoul(key) - 1].bucketID == 0)
            watched->wrong = "a bucket that stays was removed: " + line;
    const auto now = limits_in_switch();
    for (const auto &limit : order.before.switched)
        if (order.after.switched.contains(limit) && !now.contains(limit))
            watched->wrong = "a limit that stays was removed from the switch";
}

static bool uses_bucket(const kxqos_rule_t &rule, unsigned bucket)
{
    return rule.rule_id != 0 && (rule.action.actionFlag >> KXQOS_ACTION_RATE_LIMIT & 1) != 0 &&
           rule.action.rateBucket == bucket;
}

// Buckets come before the rules that use them, and go after them, unless the file itself leaves such a rule behind.
static void watch_buckets(uint32_t request, const void *payload)
{
    if (request == KXQOS_RULE_ADD) {
        const auto *rule = static_cast<const kxqos_rule_t *>(payload);
        const std::string bucket = std::to_string(rule->action.rateBucket);
        if (uses_bucket(*rule, rule->action.rateBucket) && watched->after.buckets.contains(bucket) &&
            world.module.buckets[rule->action.rateBucket - 1].bucketID == 0)
            watched->wrong = "a rule came before its bucket " + bucket;
    } else if (request == KXQOS_BUCKET_DELETE) {
        const unsigned bucket = static_cast<const kxqos_rate_bucket_t *>(payload)->bucketID;
        static const char *const profiles[] = {"qos", "osgiflow", "lanhost", "bridgedata", "hardacc"};
        for (const kxqos_rule_t &rule : world.module.rules)
            if (uses_bucket(rule, bucket) &&
                !watched->after.rules.contains({profiles[rule.table_id], std::to_string(rule.rule_id)}))
                watched->wrong = "a bucket went before a rule that uses it: " + std::to_string(bucket);
    }
}

static void watch(uint32_t request, const void *payload)
{
    watch_what_stays(*watched);
    watch_buckets(request, payload);
}

// The properties of a pair

struct Pair {
    Lines a;
    Lines b;
};

struct Known {
    const Pair *pair;
    std::unique_ptr<World> before; // of a gateway that holds a
    Held held;                     // the same as texts
    Held wanted;
    Least least;
    bool refresh;
    std::string file;
};

static Ran run_config(const char *verb, const std::string &input, const std::vector<Strike> &strikes = {})
{
    start_events(strikes);
    return run_program(config, {verb, "-"}, input);
}

static std::string told(const Ran &ran)
{
    return ": status " + std::to_string(ran.status) + ", " + std::to_string(count_changes()) + " requests, " +
           std::to_string(count_calls()) + " calls\n" + ran.output + ran.errors;
}

// Returns the events of an apply that works.
static std::vector<Event> check_apply(const Known &known)
{
    world = *known.before;
    Order order = {known.held, known.wanted, ""};
    watched = &order;
    before_change = watch;
    const Ran ran = run_config("apply", known.file);
    before_change = nullptr;
    require(ran.status == 0 && ran.output.empty(), "apply fails" + told(ran));
    require(order.wrong.empty(), order.wrong);
    require(count_changes() == known.least.requests + known.refresh,
            "requests, where " + std::to_string(known.least.requests + known.refresh) + " are the least" + told(ran));
    require(count_calls() == known.least.calls,
            "calls, where " + std::to_string(known.least.calls) + " are the least" + told(ran));
    std::vector<Event> made = events;
    require(held_by_world() == known.wanted, "the gateway holds something else after apply" + told(ran));

    const Ran again = run_config("apply", known.file);
    require(again.status == 0 && count_changes() == known.refresh && count_calls() == 0,
            "applying again sends something" + told(again));
    return made;
}

static void check_diff(const Known &known)
{
    world = *known.before;
    const Ran diff = run_config("diff", known.file);
    require(count_changes() == 0 && count_calls() == 0, "diff changes something" + told(diff));
    require(diff.status == (known.least.requests != 0 ? 1 : 0), "the status of diff" + told(diff));
    const Ran ran = run_config("run", diff.output);
    require(ran.status == 0, "run does not take what diff printed:\n" + diff.output + told(ran));
    require(held_by_world() == known.wanted, "diff and run do not do what apply does:\n" + diff.output);
}

// All but what cannot be read, and so cannot be put back.
static bool same_as_before(const Known &known)
{
    const model &was = known.before->module;
    const model &is = world.module;
    for (size_t i = 0; i < std::size(was.counters); i++)
        if (was.counters[i].enabled != is.counters[i].enabled)
            return false;
    return memcmp(was.rules, is.rules, sizeof was.rules) == 0 &&
           memcmp(was.buckets, is.buckets, sizeof was.buckets) == 0 &&
           memcmp(was.limits, is.limits, sizeof was.limits) == 0 && was.debug_flags == is.debug_flags &&
           was.qos_enabled == is.qos_enabled && was.pure_dscp_enabled == is.pure_dscp_enabled &&
           was.fine_classify_enabled == is.fine_classify_enabled && limits_in_switch() == known.held.switched;
}

static const char *name_of(Fault fault)
{
    static const char *const names[] = {"not done", "done, yet failed", "a result above 0", "not done, yet no failure"};
    return names[static_cast<int>(fault)];
}

static std::string told(const std::vector<Strike> &strikes)
{
    std::string text = " after a failure of";
    for (const Strike &strike : strikes)
        text += " event " + std::to_string(strike.at) + " (" + name_of(strike.fault) + ")";
    return text;
}

static Ran apply_with(const Known &known, const std::vector<Strike> &strikes)
{
    world.module = known.before->module;
    memcpy(world.switched.limits, known.before->switched.limits, sizeof world.switched.limits);
    return run_config("apply", known.file, strikes);
}

// One thing fails, and then nothing any more: the gateway is as it was.
static void check_put_back(const Known &known, size_t at, Fault fault)
{
    const std::vector<Strike> strikes = {{at, fault}};
    const Ran ran = apply_with(known, strikes);
    require(ran.status == 1, "not put back" + told(strikes) + told(ran));
    require(same_as_before(known), "not as it was before" + told(strikes) + told(ran));
}

// More may fail: what was wanted, what was before, or a word that it is neither.
static void check_three_ends(const Known &known, const std::vector<Strike> &strikes)
{
    const Ran ran = apply_with(known, strikes);
    if (ran.status == 1)
        require(same_as_before(known), "not as it was before" + told(strikes) + told(ran));
    else if (ran.status == 0)
        require(held_by_world() == known.wanted, "not what was wanted" + told(strikes) + told(ran));
    else
        require(ran.status == 3, "not a status of apply" + told(strikes) + told(ran));
}

static size_t failures;

// What is in the switch and the refresh cannot be read, so there it could not be seen.
static bool can_be_seen(const Event &event)
{
    return event.changes && event.request != 0 && event.request != KXQOS_REFRESH_SET;
}

static void check_failures(const Known &known, const std::vector<Event> &made, Random *random)
{
    for (size_t at = 0; at < made.size(); at++) {
        check_put_back(known, at, Fault::not_done);
        if (made[at].changes)
            check_put_back(known, at, Fault::done);
        if (made[at].changes || random->once(8))
            check_three_ends(known, {{at, Fault::above_zero}});
        if (can_be_seen(made[at]))
            check_three_ends(known, {{at, Fault::ignored}});
        failures += 1 + 2 * made[at].changes + can_be_seen(made[at]);
    }
    for (int trials = 0; trials < 6 && !made.empty(); trials++) {
        std::vector<Strike> strikes;
        for (uint64_t left = 2 + random->upTo(2); left > 0; left--)
            strikes.push_back({random->upTo(made.size() * 3 / 2), static_cast<Fault>(random->upTo(2))});
        check_three_ends(known, strikes);
        failures++;
    }
}

static void check_pair(const Pair &pair, uint64_t seed)
{
    Known known;
    known.pair = &pair;
    known.before = std::make_unique<World>(typed(pair.a));
    known.held = held_by_world();
    const Held fresh = held_by(typed(pair.b));
    const Named named = named_by(pair.b);
    known.wanted = wanted_end(known.held, fresh, named);
    known.least = least_between(known.held, known.wanted);
    known.refresh = named.refresh;
    known.file = text_of(pair.b);
    const std::vector<Event> made = check_apply(known);
    check_diff(known);
    Random random(seed);
    check_failures(known, made, &random);
}

static std::optional<std::string> failure_of(const Pair &pair, uint64_t seed)
{
    try {
        check_pair(pair, seed);
        return std::nullopt;
    } catch (const Untyped &) {
        throw;
    } catch (const Failed &failed) {
        before_change = nullptr;
        return failed.what;
    }
}

// Making and shrinking pairs

static Pair random_pair(uint64_t seed)
{
    Random random(seed);
    const Setup a = random_setup(&random);
    const uint64_t distance = random.upTo(9);
    const Setup b = distance == 0 ? a : distance < 5 ? near_setup(a, &random) : random_setup(&random);
    Pair pair;
    pair.a = lines_of(a, &random);
    pair.b = lines_of(b, &random);
    return pair;
}

// The kind of a failure: what its text begins with.
static std::string kind_of(const std::string &what)
{
    return what.substr(0, what.find_first_of(":0123456789"));
}

static bool still_fails(const Pair &pair, uint64_t seed, const std::string &kind)
{
    try {
        const std::optional<std::string> failure = failure_of(pair, seed);
        return failure && kind_of(*failure) == kind;
    } catch (const Untyped &) {
        return false;
    }
}

static bool drop_a_line(Pair *pair, uint64_t seed, const std::string &kind)
{
    for (Lines Pair::*side : {&Pair::a, &Pair::b}) {
        for (size_t i = 0; i < (pair->*side).size(); i++) {
            Pair less = *pair;
            (less.*side).erase((less.*side).begin() + static_cast<long>(i));
            if (still_fails(less, seed, kind)) {
                *pair = less;
                return true;
            }
        }
    }
    return false;
}

static int report(Pair pair, uint64_t seed, const std::string &what)
{
    while (drop_a_line(&pair, seed, kind_of(what))) {
    }
    printf(
        "FAILED: pair of seed %llu, without what does not matter:\n--- the gateway holds\n%s--- the file\n%s---\n%s\n",
        static_cast<unsigned long long>(seed), text_of(pair.a).c_str(), text_of(pair.b).c_str(),
        failure_of(pair, seed).value_or("").c_str());
    return 1;
}

static int write_pairs(const std::string &folder, uint64_t seed, uint64_t count)
{
    for (uint64_t i = 0; i < count; i++) {
        const Pair pair = random_pair(seed + i);
        std::ofstream(folder + "/" + std::to_string(i) + ".a") << text_of(pair.a);
        std::ofstream(folder + "/" + std::to_string(i) + ".b") << text_of(pair.b);
    }
    return 0;
}

int main(int argc, char **argv)
{
    uint64_t seed = std::random_device()();
    uint64_t count = 1000;
    std::string folder;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--seed")
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--pairs")
            count = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--write")
            folder = argv[i + 1];
    }
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    fflush(stdout);
    if (!folder.empty())
        return write_pairs(folder, seed, count);
    tool = load_program("property-tool.so");
    config = load_program("property-config.so");
    try {
        for (uint64_t i = 0; i < count; i++) {
            const Pair pair = random_pair(seed + i);
            if (const std::optional<std::string> failure = failure_of(pair, seed + i))
                return report(pair, seed + i, *failure);
        }
    } catch (const Untyped &untyped) {
        printf("FAILED: a line made at random: %s\n", untyped.what.c_str());
        return 1;
    }
    printf("%llu pairs, %zu applies with failures\n", static_cast<unsigned long long>(count), failures);
    return 0;
}
