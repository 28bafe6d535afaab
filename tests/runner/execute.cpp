#include "execute.h"

#include "compare.h"
#include "errors.h"
#include "launcher.h"
#include "process.h"
#include "trace.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

namespace {

Words words_at(char **words)
{
    Words list;
    for (; *words != nullptr; words++)
        list.emplace_back(*words);
    return list;
}

Outcome run_step(const Words &words, const Words &environment, const Step &step, unsigned timeout)
{
    Command command;
    command.words = words;
    command.environment = environment;
    command.seconds = timeout;
    command.output_size = size_t{4} << 20; // a command that prints without end is as good as hung
    if (step.standard_input_closed)
        command.standard_input.clear();
    if (step.standard_output == "closed")
        command.standard_output = StandardOutput::closed;
    else if (step.standard_output == "full")
        command.standard_output = StandardOutput::full;
    else if (step.standard_output == "broken")
        command.standard_output = StandardOutput::broken;
    return run(command);
}

// In a process of its own, or, as that takes longer than all the launcher does, in this one.
Outcome launch(const Options &options, const Words &words, const Step &step)
{
    if (!options.gateway.empty())
        return run_step(words, {}, step, options.timeout);
    Outcome outcome;
    std::vector<char *> list = pointers(words);
    const struct launch launch = launcher_begin(static_cast<int>(words.size()), list.data());
    if (launch.words != nullptr)
        outcome = run_step(words_at(launch.words), words_at(launch.variables), step, options.timeout);
    launcher_end();
    return outcome;
}

void append(Words &words, const Words &more)
{
    words.insert(words.end(), more.begin(), more.end());
}

Words launcher_words(const Options &options)
{
    return options.gateway.empty() ? Words{"launcher"} : options.gateway;
}

void reboot(const Options &options, const std::string &state)
{
    Words words = launcher_words(options);
    append(words, {"--state", state, "--reboot"});
    Outcome outcome = launch(options, words, Step());
    if (outcome.status != 0 || outcome.hung) {
        std::fprintf(stderr, "transcript: %s --reboot: status %d\n%s", words[0].c_str(), outcome.status,
                     outcome.errors.c_str());
        std::exit(2);
    }
}

Words launch_words(const Options &options, const Step &step, const std::string &state, const std::string &trace)
{
    Words words = launcher_words(options);
    append(words, {"--state", state, "--trace", trace});
    for (const Fault &fault : step.faults)
        append(words, {"--fault", fault.rule});
    if (!step.traffic.empty())
        append(words, {"--traffic", step.traffic});
    words.emplace_back("--");
    append(words, options.via);
    words.push_back(options.tool);
    append(words, step.words);
    return words;
}

// A state file that nobody has used, whatever folder a gateway keeps the rest in.
struct Folder {
    std::string path = (std::filesystem::temp_directory_path() / "transcript.XXXXXX").string();

    Folder()
    {
        if (mkdtemp(path.data()) == nullptr) {
            std::perror("transcript: temporary folder");
            std::exit(2);
        }
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
};

bool try_step(const Options &options, const std::string &path, const Step &step, const std::string &state, bool *hung)
{
    const std::string trace_path = state + ".trace";
    unlink(trace_path.c_str());
    Outcome outcome = launch(options, launch_words(options, step, state, trace_path), step);
    bool killed = outcome.status == 128 + SIGKILL;
    *hung = outcome.hung;
    return compare(path, step, outcome, read_trace(trace_path, killed), options.timeout);
}

// The step with each error in the place of a plain "fail", on a gateway that is as it is now.
bool try_errors(const Options &options, const std::string &path, const Step &step, const std::string &state)
{
    const std::string copy = state + ".copy";
    bool good = true;
    bool hung = false;
    for (const std::string &error : options.errors) {
        Step other = step;
        for (Fault &fault : other.faults) {
            if (!fault.fails || fault.error != 0)
                continue;
            fault.error = error_number(error.c_str());
            fault.rule += ":" + error;
        }
        other.command += " [" + error + "]";
        std::filesystem::copy_file(state, copy, std::filesystem::copy_options::overwrite_existing);
        good = try_step(options, path, other, copy, &hung) && good;
        if (hung)
            break;
    }
    return good;
}

} // namespace

bool fails_plainly(const Step &step)
{
    return std::any_of(step.faults.begin(), step.faults.end(),
                       [](const Fault &fault) { return fault.fails && fault.error == 0; });
}

bool execute(const Options &options, const std::string &path, const std::vector<Step> &steps)
{
    Folder folder;
    std::string state = folder.path + "/state";
    reboot(options, state);
    bool good = true;
    for (const Step &step : steps) {
        if (step.reboot)
            reboot(options, state);
        if (step.command.empty())
            continue;
        if (fails_plainly(step))
            good = try_errors(options, path, step, state) && good;
        bool hung = false;
        good = try_step(options, path, step, state, &hung) && good;
        if (hung)
            break; // what it left behind is anybody's guess
    }
    return good;
}
