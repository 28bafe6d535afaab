// Executes transcripts: files that show commands as typed, with what they print and what they send. README.md tells
// how they are written. Uses nothing but the system itself, so that it also runs, linked statically, in a guest that
// has no shell to speak of.

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef KXQOS_LAUNCHER_WITHIN
// A launcher that is linked into this program, where starting it anew for each step is what takes longest. Returns
// where in its words the command begins, which is their number when there is none.
extern "C" int launcher_begin(int argc, char **argv);
extern "C" void launcher_end();
#endif

namespace {

using Words = std::vector<std::string>;

// A transcript that is not written as README.md says.
struct FormatError {
    int line;
    std::string text;
};

constexpr long none = -1; // in place of a number

struct Options {
    Words gateway;
    Words via;
    std::string tool;
    std::string as = "lab";
    unsigned timeout = 10;
    Words files;
};

struct Line {
    int number;
    std::string text;
};

// One rule of the launcher's --fault; lab/README.md tells what the parts mean.
struct Fault {
    std::string rule;
    std::string where;
    long count = 0; // 0 is every one
    bool fails = false;
    bool kills = false;
    std::optional<long> result;
    std::vector<std::pair<size_t, std::string>> bytes;
};

struct Step {
    int line = 0;
    std::string command; // as written; empty when the step is only a reboot
    Words words;
    bool reboot = false;
    std::vector<Fault> faults;
    std::string traffic;
    std::string standard_output; // "full", "closed" or "broken"; empty is a pipe to here
    bool standard_input_closed = false;

    std::string output;
    long status = none; // 0 if no line gives it
    Words sent;
    bool anything_sent = false;
};

struct Transcript {
    std::vector<std::pair<std::string, std::string>> skips; // where and why
    std::vector<Step> steps;
};

struct Outcome {
    std::string output;
    std::string errors;
    int status = 0;
    bool hung = false;
};

// One event of a trace that a transcript can speak of.
struct Event {
    enum { open, request, call } kind;
    std::string name; // the request's number, the function's name
    long result;
    std::string returned; // the payload after the request
    std::string shown;    // as a ">" line has it
};

struct Trace {
    std::vector<Event> events;
    std::string problem; // what is wrong with the order of events, if anything
};

// Text

bool starts_with(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

Words split(const std::string &text, char separator)
{
    Words parts;
    for (size_t start = 0; start < text.size();) {
        size_t end = std::min(text.find(separator, start), text.size());
        if (end > start || separator != ' ')
            parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// A decimal number and nothing else, of ten digits at most; or none.
long to_number(const std::string &text)
{
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
        return none;
    return std::strtol(text.c_str(), nullptr, 10);
}

// As a trace has it: it may be negative.
long to_long(const std::string &text)
{
    return std::strtol(text.c_str(), nullptr, 10);
}

constexpr std::string_view hex_digits = "0123456789abcdef";

std::optional<std::string> from_hex(const std::string &text)
{
    if (text.size() % 2 != 0)
        return std::nullopt;
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        size_t high = hex_digits.find(text[i]);
        size_t low = hex_digits.find(text[i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

std::string to_hex(const std::string &bytes)
{
    std::string text;
    for (char byte : bytes) {
        auto number = static_cast<unsigned char>(byte);
        text += hex_digits[number / 16];
        text += hex_digits[number % 16];
    }
    return text;
}

// What a file cannot hold in plain sight is marked in it.
constexpr std::array<std::pair<const char *, const char *>, 3> marks = {{{"␠", " "}, {"␉", "\t"}, {"␍", "\r"}}};

std::string without_marks(std::string text)
{
    for (auto [mark, character] : marks)
        text = replaced(text, mark, character);
    return text;
}

std::string with_marks(const std::string &line)
{
    std::string text;
    for (size_t i = 0; i < line.size(); i++) {
        char c = line[i];
        bool plain_blank = c == ' ' && line.find_first_not_of(' ', i) != std::string::npos;
        const char *mark = nullptr;
        for (auto [name, character] : marks)
            if (c == *character && !plain_blank)
                mark = name;
        if (mark != nullptr)
            text += mark;
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            text += "\\x" + to_hex(std::string(1, c));
        else
            text += c;
    }
    return text;
}

// Output, or anything that is more than a line, as a transcript has it.
Words as_written(const std::string &output)
{
    Words lines;
    size_t start = 0;
    for (size_t end = output.find('\n'); end != std::string::npos; end = output.find('\n', start)) {
        std::string line = with_marks(output.substr(start, end - start));
        lines.push_back(line.empty() ? "|" : "| " + line);
        start = end + 1;
    }
    if (start < output.size())
        lines.push_back(": " + with_marks(output.substr(start)));
    return lines;
}

// A payload as runs of bytes that are not zero: " 2:05 5:1122334455".
std::string sparse(const std::string &payload)
{
    std::string text;
    for (size_t i = 0; i < payload.size(); i++) {
        if (payload[i] == 0)
            continue;
        size_t end = std::min(payload.find('\0', i), payload.size());
        text += " " + std::to_string(i) + ":" + to_hex(payload.substr(i, end - i));
        i = end;
    }
    return text;
}

// Reading a transcript

std::vector<Line> read_lines(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw FormatError{0, "cannot be read"};
    std::vector<Line> lines;
    int number = 0;
    for (std::string text; std::getline(file, text);) {
        number++;
        if (text.find('\t') != std::string::npos || text.find('\r') != std::string::npos)
            throw FormatError{number, "a tab or a carriage return; write ␉ or ␍"};
        if (!text.empty() && text.back() == ' ')
            throw FormatError{number, "a blank at the end of the line; write ␠"};
        lines.push_back({number, text});
    }
    return lines;
}

std::string little_endian(long number, int size)
{
    std::string bytes;
    for (int i = 0; i < size; i++)
        bytes += static_cast<char>(static_cast<unsigned long>(number) >> (8 * i));
    return to_hex(bytes);
}

// Everything else in braces stands for itself: the tool prints braces too.
std::string filled_in(std::string text, long n)
{
    if (text.find("{n") == std::string::npos)
        return text;
    for (auto [name, number] : {std::pair{"{n", n}, std::pair{"{n-1", n - 1}, std::pair{"{n+1", n + 1}}) {
        text = replaced(text, name + std::string("}"), std::to_string(number));
        text = replaced(text, name + std::string(".le16}"), little_endian(number, 2));
        text = replaced(text, name + std::string(".le32}"), little_endian(number, 4));
    }
    return text;
}

void repeat(const std::vector<Line> &body, long first, long last, std::vector<Line> &out)
{
    bool whole_steps = false;
    for (const Line &line : body)
        whole_steps = whole_steps || starts_with(line.text, "$");
    for (long n = first; n <= last; n++) {
        for (const Line &line : body)
            out.push_back({line.number, filled_in(line.text, n)});
        if (whole_steps)
            out.push_back({body.back().number, ""});
    }
}

std::pair<long, long> loop_bounds(const Line &line, const Words &words)
{
    if (words[0] == "for" && words.size() == 3) {
        long first = to_number(words[1]);
        long last = to_number(words[2]);
        if (first >= 0 && first <= last)
            return {first, last};
    }
    throw FormatError{line.number, "expected 'for A B' ... 'end', A not above B"};
}

std::vector<Line> without_loops(const std::vector<Line> &lines)
{
    std::vector<Line> out;
    for (size_t i = 0; i < lines.size(); i++) {
        if (!starts_with(lines[i].text, "for") && !starts_with(lines[i].text, "end")) {
            out.push_back(lines[i]);
            continue;
        }
        Words words = split(lines[i].text, ' ');
        auto [first, last] = loop_bounds(lines[i], words);
        std::vector<Line> body;
        size_t end = i + 1;
        for (; end < lines.size() && lines[end].text != "end"; end++) {
            if (starts_with(lines[end].text, "for "))
                throw FormatError{lines[end].number, "'for' within 'for'"};
            body.push_back(lines[end]);
        }
        if (end == lines.size() || body.empty())
            throw FormatError{lines[i].number, "'for' with nothing in it, or without 'end'"};
        repeat(body, first, last, out);
        i = end;
    }
    return out;
}

// "{TEXT*N}", i being at the brace; moves i to the closing one.
std::optional<std::string> repeated(const std::string &text, size_t &i)
{
    size_t end = text.find('}', i);
    size_t star = text.rfind('*', end);
    if (end == std::string::npos || star == std::string::npos || star < i)
        return std::nullopt;
    long times = to_number(text.substr(star + 1, end - star - 1));
    if (times == none)
        return std::nullopt;
    std::string all;
    for (long n = 0; n < times; n++)
        all += text.substr(i + 1, star - i - 1);
    i = end;
    return all;
}

// What a backslash in "..." and the characters behind it stand for, i being at the first of them; moves i to the last.
std::string escaped(const Line &line, size_t &i)
{
    char c = i < line.text.size() ? line.text[i] : '\0';
    std::optional<std::string> result;
    switch (c) {
    case 't':
        return "\t";
    case 'n':
        return "\n";
    case 'r':
        return "\r";
    case '\\':
    case '"':
        return {c};
    case 'x':
        result = from_hex(line.text.substr(i + 1, 2));
        i += 2;
        break;
    case '{':
        result = repeated(line.text, i);
        break;
    default:
        break;
    }
    // A word cannot hold a NUL.
    if (!result || result->find('\0') != std::string::npos || (c == 'x' && result->size() != 1))
        throw FormatError{line.number, "unknown escape in \"...\""};
    return *result;
}

Words command_words(const Line &line)
{
    const std::string &text = line.text;
    Words words;
    bool in_word = false;
    char quote = 0;
    for (size_t i = 2; i < text.size(); i++) {
        char c = text[i];
        if (quote == 0 && c == ' ') {
            in_word = false;
            continue;
        }
        if (!in_word) {
            words.emplace_back();
            in_word = true;
        }
        if (quote == 0 && (c == '\'' || c == '"'))
            quote = c;
        else if (quote != 0 && c == quote)
            quote = 0;
        else
            words.back() += quote == '"' && c == '\\' ? escaped(line, ++i) : std::string(1, c);
    }
    if (quote != 0)
        throw FormatError{line.number, "a quote that is not closed"};
    if (words.empty() || words[0] != "kxqosctl")
        throw FormatError{line.number, "expected '$ kxqosctl WORDS'"};
    words.erase(words.begin());
    return words;
}

void parse_what(const Line &line, const std::string &what, Fault &fault)
{
    Words parts = split(what, ':');
    long number = parts.size() > 1 ? to_number(parts[1]) : none;
    if (what == "fail")
        fault.fails = true;
    else if (what == "kill")
        fault.kills = true;
    else if (parts.size() == 3 && parts[0] == "bytes" && number != none && from_hex(parts[2]))
        fault.bytes.emplace_back(number, *from_hex(parts[2]));
    else if (parts.size() == 2 && parts[0] == "result" && number != none)
        fault.result = number;
    else if (parts.size() != 2 || parts[0] != "value")
        throw FormatError{line.number, "unknown fault: " + what};
}

Fault parse_fault(const Line &line, const std::string &rule)
{
    size_t hash = rule.find('#');
    size_t equals = rule.find('=');
    if (hash == std::string::npos || equals == std::string::npos || hash > equals)
        throw FormatError{line.number, "expected 'fault WHERE#N=WHAT'"};
    Fault fault;
    fault.rule = rule;
    fault.where = rule.substr(0, hash);
    std::string count = rule.substr(hash + 1, equals - hash - 1);
    long number = to_number(count);
    if (count != "*" && number < 1)
        throw FormatError{line.number, "expected a number from 1 or '*' behind '#'"};
    fault.count = count == "*" ? 0 : number;
    for (const std::string &what : split(rule.substr(equals + 1), ','))
        parse_what(line, what, fault);
    return fault;
}

// "NR SIZE OFFSET:HEX..." in the form in which a trace's requests are shown.
std::string parse_request(const Line &line, const Words &words)
{
    long number = to_number(words[0]);
    long size = words.size() > 1 ? to_number(words[1]) : none;
    if (number == none || size == none)
        throw FormatError{line.number, "expected '> NR SIZE OFFSET:HEX...'"};
    std::string head = std::to_string(number) + " " + std::to_string(size);
    if (words.size() == 3 && words[2] == "*")
        return head + " *";
    std::string payload(static_cast<size_t>(size), '\0');
    size_t free = 0;
    for (size_t i = 2; i < words.size(); i++) {
        Words parts = split(words[i], ':');
        long offset = to_number(parts[0]);
        auto bytes = parts.size() == 2 ? from_hex(parts[1]) : std::nullopt;
        if (offset == none || !bytes || bytes->empty())
            throw FormatError{line.number, "expected OFFSET:HEX, not " + words[i]};
        auto start = static_cast<size_t>(offset);
        if (start < free || start + bytes->size() > payload.size())
            throw FormatError{line.number, words[i] + " overlaps, is out of order, or is beyond the payload"};
        payload.replace(start, bytes->size(), *bytes);
        free = start + bytes->size();
    }
    return head + sparse(payload);
}

void parse_sent(const Line &line, Step &step)
{
    std::string text = line.text.substr(2);
    if (text == "any")
        step.anything_sent = true;
    else if (text[0] >= '0' && text[0] <= '9')
        step.sent.push_back(parse_request(line, split(text, ' ')));
    else
        step.sent.push_back(without_marks(text));
    if (step.anything_sent && !step.sent.empty())
        throw FormatError{line.number, "'> any' stands alone"};
}

// A line that stands before the "$" line. False if it is none.
bool parse_condition(const Line &line, const Words &words, Step &step)
{
    if (line.text == "reboot")
        step.reboot = true;
    else if (words.size() == 2 && words[0] == "fault")
        step.faults.push_back(parse_fault(line, words[1]));
    else if (words.size() == 2 && words[0] == "traffic" && to_number(words[1]) != none)
        step.traffic = words[1];
    else if (line.text == "stdout full" || line.text == "stdout closed" || line.text == "stdout broken")
        step.standard_output = words[1];
    else if (line.text == "stdin closed")
        step.standard_input_closed = true;
    else
        return false;
    return true;
}

// A line that stands behind the "$" line. False if it is none.
bool parse_expectation(const Line &line, Step &step)
{
    const std::string &text = line.text;
    if (text == "|")
        step.output += "\n";
    else if (starts_with(text, "| "))
        step.output += without_marks(text.substr(2)) + "\n";
    else if (starts_with(text, ": "))
        step.output += without_marks(text.substr(2));
    else if (starts_with(text, "> "))
        parse_sent(line, step);
    else if (starts_with(text, "= ") && to_number(text.substr(2)) != none && step.status == none)
        step.status = to_number(text.substr(2));
    else
        return false;
    return true;
}

void parse_step_line(const Line &line, Step &step)
{
    bool has_command = !step.command.empty();
    if (starts_with(line.text, "$ ")) {
        if (has_command)
            throw FormatError{line.number, "no blank line between two steps"};
        step.line = line.number;
        step.command = line.text;
        step.words = command_words(line);
        return;
    }
    if (has_command ? !parse_expectation(line, step) : !parse_condition(line, split(line.text, ' '), step))
        throw FormatError{line.number, "unknown line, or not in this place: " + line.text};
}

void finish_step(int number, Step &step, std::vector<Step> &steps)
{
    bool conditions =
        !step.faults.empty() || !step.traffic.empty() || !step.standard_output.empty() || step.standard_input_closed;
    if (step.command.empty() && conditions)
        throw FormatError{number, "no '$' line"};
    if (!step.standard_output.empty() && !step.output.empty())
        throw FormatError{step.line, "nothing can be read back from a standard output that is " + step.standard_output};
    if (!step.command.empty() || step.reboot)
        steps.push_back(std::move(step));
    step = Step();
}

std::pair<std::string, std::string> parse_skip(const Line &line)
{
    size_t colon = line.text.find(": ");
    std::string where = line.text.substr(5, colon == std::string::npos ? colon : colon - 5);
    if (colon == std::string::npos || (where != "lab" && where != "aarch64" && where != "rig"))
        throw FormatError{line.number, "expected 'skip NAME: REASON', NAME being lab, aarch64 or rig"};
    return {where, line.text.substr(colon + 2)};
}

Transcript read_transcript(const std::string &path)
{
    Transcript transcript;
    Step step;
    int last = 0;
    for (const Line &line : without_loops(read_lines(path))) {
        bool in_step = !step.command.empty();
        last = line.number;
        if (line.text.empty())
            finish_step(line.number, step, transcript.steps);
        else if (starts_with(line.text, "skip ") && transcript.steps.empty() && !in_step)
            transcript.skips.push_back(parse_skip(line));
        else if (line.text[0] != '#')
            parse_step_line(line, step);
    }
    finish_step(last, step, transcript.steps);
    if (transcript.steps.empty())
        throw FormatError{last, "no step in it"};
    return transcript;
}

// Running a command

volatile sig_atomic_t running_group;
volatile sig_atomic_t ran_too_long;

void on_alarm(int /*signal*/)
{
    ran_too_long = 1;
    kill(-running_group, SIGKILL);
}

// The two ends of a pipe. Neither is passed on but where it is asked for.
struct Pipe {
    std::array<int, 2> ends = {-1, -1};

    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            std::perror("transcript: pipe");
            std::exit(2);
        }
    }
    ~Pipe()
    {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    void close_end(size_t end)
    {
        if (ends[end] >= 0) {
            close(ends[end]);
            ends[end] = -1;
        }
    }
};

// Reads both until nobody can write to them any more.
void collect(Pipe &output, Pipe &errors, Outcome &outcome)
{
    constexpr size_t enough = size_t{4} << 20; // a command that prints without end is as good as hung
    output.close_end(1);
    errors.close_end(1);
    std::array<pollfd, 2> polled = {{{output.ends[0], POLLIN, 0}, {errors.ends[0], POLLIN, 0}}};
    std::array<std::string *, 2> texts = {&outcome.output, &outcome.errors};
    while (polled[0].fd >= 0 || polled[1].fd >= 0) {
        if (poll(polled.data(), polled.size(), -1) < 0)
            continue;
        for (size_t i = 0; i < polled.size(); i++) {
            std::array<char, 65536> buffer;
            ssize_t size = polled[i].revents != 0 ? read(polled[i].fd, buffer.data(), buffer.size()) : -1;
            if (size > 0 && texts[i]->size() < enough)
                texts[i]->append(buffer.data(), static_cast<size_t>(size));
            else if (size == 0)
                polled[i].fd = -1;
            else if (size > 0)
                on_alarm(SIGALRM);
        }
    }
}

// For a function that wants them as C has them. They last as long as the words do.
std::vector<char *> pointers(const Words &words)
{
    std::vector<char *> list;
    list.reserve(words.size() + 1);
    for (const std::string &word : words)
        list.push_back(const_cast<char *>(word.c_str()));
    list.push_back(nullptr);
    return list;
}

pid_t start(const Words &words, const Step &step, const Pipe &output, const Pipe &errors)
{
    std::vector<char *> argv = pointers(words);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    if (step.standard_input_closed)
        posix_spawn_file_actions_addclose(&files, 0);
    else
        posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    if (step.standard_output == "closed")
        posix_spawn_file_actions_addclose(&files, 1);
    else if (step.standard_output == "full")
        posix_spawn_file_actions_addopen(&files, 1, "/dev/full", O_WRONLY, 0);
    else
        posix_spawn_file_actions_adddup2(&files, output.ends[1], 1);
    posix_spawn_file_actions_adddup2(&files, errors.ends[1], 2);

    // A group of its own, so that everything it started can be ended. SIGPIPE is ignored here (see main).
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    if (step.standard_output != "broken")
        sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);

    pid_t pid = 0;
    int error = posix_spawnp(&pid, argv[0], &files, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        std::fprintf(stderr, "transcript: %s: %s\n", argv[0], std::strerror(error));
        std::exit(2);
    }
    return pid;
}

Outcome run(const Words &words, const Step &step, unsigned timeout)
{
    Outcome outcome;
    Pipe output;
    Pipe errors;
    if (step.standard_output == "broken")
        output.close_end(0);
    pid_t pid = start(words, step, output, errors);
    running_group = pid;
    ran_too_long = 0;
    alarm(timeout);
    collect(output, errors, outcome);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    alarm(0);
    outcome.hung = ran_too_long != 0;
    outcome.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return outcome;
}

#ifdef KXQOS_LAUNCHER_WITHIN
// The launcher's words are obeyed here, and only the command among them is started.
Outcome launch(const Words &words, const Step &step, unsigned timeout)
{
    int command = launcher_begin(static_cast<int>(words.size()), pointers(words).data());
    Words rest(words.begin() + command, words.end());
    Outcome outcome = rest.empty() ? Outcome() : run(rest, step, timeout);
    launcher_end();
    return outcome;
}
#else
Outcome launch(const Words &words, const Step &step, unsigned timeout)
{
    return run(words, step, timeout);
}
#endif

// The trace

// "request NR = RESULT sent HEX returned HEX"
Event parse_traced_request(const Words &words)
{
    Event event = {Event::request, words[1], to_long(words[3]), "", words[1]};
    auto sent = from_hex(words[5]);
    event.returned = from_hex(words[7]).value_or("");
    if (sent)
        event.shown += " " + std::to_string(sent->size()) + sparse(*sent);
    else
        event.shown += " " + words[5]; // of unknown size
    return event;
}

// "call NAME ARG... = RESULT"
Event parse_traced_call(const std::string &line)
{
    size_t equals = line.rfind(" = ");
    std::string shown = line.substr(5, equals - 5);
    return {Event::call, shown.substr(0, shown.find(' ')), to_long(line.substr(equals + 3)), "", shown};
}

// Each request must have a descriptor of its own: open with flags 2, the request, close.
Trace read_trace(const std::string &path, bool killed)
{
    Trace trace;
    enum { closed, opened, requested } state = closed;
    std::ifstream file(path, std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        Words words = split(line, ' ');
        bool good = false;
        if (words.size() == 4 && words[0] == "open") {
            long result = to_long(words[3]);
            good = state == closed && words[1] == "2";
            state = result < 0 ? closed : opened;
            trace.events.push_back({Event::open, "", result, "", result < 0 ? "open fails" : ""});
        } else if (words.size() == 8 && words[0] == "request") {
            good = state == opened && to_number(words[1]) != none;
            state = requested;
            trace.events.push_back(parse_traced_request(words));
        } else if (line == "close") {
            good = state == requested;
            state = closed;
        } else if (starts_with(line, "call ") && line.find(" = ") != std::string::npos) {
            good = state == closed;
            trace.events.push_back(parse_traced_call(line));
        }
        if (!good && trace.problem.empty())
            trace.problem = line;
    }
    if (state != closed && !killed && trace.problem.empty())
        trace.problem = "the end, without a close";
    return trace;
}

Words sent_in(const Trace &trace)
{
    Words sent;
    for (const Event &event : trace.events)
        if (!event.shown.empty())
            sent.push_back(event.shown);
    return sent;
}

bool same_sent(const std::string &expected, const std::string &got)
{
    if (expected.size() > 2 && expected.substr(expected.size() - 2) == " *") {
        std::string head = expected.substr(0, expected.size() - 2);
        return got == head || starts_with(got, head + " ");
    }
    return got == expected;
}

bool same_sent(const Words &expected, const Words &got)
{
    bool same = expected.size() == got.size();
    for (size_t i = 0; same && i < got.size(); i++)
        same = same_sent(expected[i], got[i]);
    return same;
}

// Faults

bool counts(const Fault &fault, const Event &event)
{
    switch (event.kind) {
    case Event::open:
        return fault.where == "open";
    case Event::request:
        return fault.where == "request" || fault.where == event.name;
    default:
        return fault.where == event.name;
    }
}

// Whether the event shows what the fault does to one. What "value" writes is in no trace: only its result is.
bool shows(const Fault &fault, const Event &event)
{
    constexpr std::array<long, 3> failed = {-ENOENT, -EIO, 6};
    if (fault.kills)
        return false; // its event is cut short; the status tells (see below)
    if (fault.fails)
        return event.result == failed[event.kind];
    std::string returned = event.returned;
    for (const auto &[offset, bytes] : fault.bytes) {
        if (offset + bytes.size() > returned.size())
            return false;
        returned.replace(offset, bytes.size(), bytes);
    }
    return returned == event.returned && event.result == fault.result.value_or(0);
}

// A fault that never strikes would let a step pass for a wrong reason.
Words unstruck_faults(const Step &step, const Trace &trace, const Outcome &outcome)
{
    std::vector<long> counted(step.faults.size());
    std::vector<bool> struck(step.faults.size());
    for (const Event &event : trace.events) {
        bool taken = false;
        for (size_t i = 0; i < step.faults.size(); i++) {
            const Fault &fault = step.faults[i];
            if (!counts(fault, event))
                continue;
            counted[i]++;
            bool strikes = !taken && (fault.count == 0 || fault.count == counted[i]);
            taken = taken || strikes;
            struck[i] = struck[i] || (strikes && shows(fault, event));
        }
    }
    Words unstruck;
    for (size_t i = 0; i < step.faults.size(); i++) {
        bool killed = step.faults[i].kills && outcome.status == 128 + SIGKILL;
        if (!struck[i] && !killed)
            unstruck.push_back(step.faults[i].rule);
    }
    return unstruck;
}

// Comparing and telling

void print_lines(const char *title, const Words &lines, size_t first)
{
    constexpr size_t most = 30;
    std::printf("  %s%s\n", title, lines.empty() ? " nothing" : "");
    if (first > 0)
        std::printf("    ... %zu lines\n", first);
    for (size_t i = first; i < lines.size() && i < first + most; i++)
        std::printf("    %s\n", lines[i].c_str());
    if (lines.size() > first + most)
        std::printf("    ... %zu lines\n", lines.size() - first - most);
}

// Both, from a little before the first difference on.
void print_difference(const char *what, const Words &expected, const Words &got)
{
    constexpr size_t before = 3;
    size_t same = 0;
    while (same < expected.size() && same < got.size() && same_sent(expected[same], got[same]))
        same++;
    size_t first = same > before ? same - before : 0;
    print_lines((std::string(what) + " expected:").c_str(), expected, first);
    print_lines("got:", got, first);
}

// Prints what differs. True if nothing does.
bool compare(const std::string &path, const Step &step, const Outcome &outcome, const Trace &trace, unsigned timeout)
{
    Words sent = sent_in(trace);
    bool sent_right = step.anything_sent || same_sent(step.sent, sent);
    Words unstruck = unstruck_faults(step, trace, outcome);
    long status = step.status == none ? 0 : step.status;
    if (!outcome.hung && outcome.output == step.output && outcome.errors.empty() && outcome.status == status &&
        sent_right && trace.problem.empty() && unstruck.empty())
        return true;
    std::printf("%s:%d: %s\n", path.c_str(), step.line, step.command.c_str());
    if (outcome.hung)
        std::printf("  not ended after %u seconds\n", timeout);
    if (outcome.output != step.output)
        print_difference("standard output,", as_written(step.output), as_written(outcome.output));
    if (!outcome.errors.empty())
        print_difference("standard error,", {}, as_written(outcome.errors));
    if (!outcome.hung && outcome.status != status)
        std::printf("  status expected: %ld\n  got: %d\n", status, outcome.status);
    if (!sent_right)
        print_difference("sent,", step.sent, sent);
    if (!trace.problem.empty())
        std::printf("  not one open with flags 2, one request, one close: %s\n", trace.problem.c_str());
    for (const std::string &rule : unstruck)
        std::printf("  a fault that never struck: %s\n", rule.c_str());
    return false;
}

// Executing

void append(Words &words, const Words &more)
{
    words.insert(words.end(), more.begin(), more.end());
}

void reboot(const Options &options, const std::string &state)
{
    Words words = options.gateway;
    append(words, {"--state", state, "--reboot"});
    Outcome outcome = launch(words, Step(), options.timeout);
    if (outcome.status != 0 || outcome.hung) {
        std::fprintf(stderr, "transcript: %s --reboot: status %d\n%s", options.gateway[0].c_str(), outcome.status,
                     outcome.errors.c_str());
        std::exit(2);
    }
}

Words launch_words(const Options &options, const Step &step, const std::string &state, const std::string &trace)
{
    Words words = options.gateway;
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

// True if every step is as written.
bool execute(const Options &options, const std::string &path, const std::vector<Step> &steps)
{
    Folder folder;
    std::string state = folder.path + "/state";
    std::string trace_path = folder.path + "/trace";
    reboot(options, state);
    bool good = true;
    for (const Step &step : steps) {
        if (step.reboot)
            reboot(options, state);
        if (step.command.empty())
            continue;
        unlink(trace_path.c_str());
        Outcome outcome = launch(launch_words(options, step, state, trace_path), step, options.timeout);
        bool killed = outcome.status == 128 + SIGKILL;
        good = compare(path, step, outcome, read_trace(trace_path, killed), options.timeout) && good;
        if (outcome.hung)
            break; // what it left behind is anybody's guess
    }
    return good;
}

enum class Verdict { passed, failed, skipped };

Verdict judge(const Options &options, const std::string &path)
{
    try {
        Transcript transcript = read_transcript(path);
        for (const auto &[where, why] : transcript.skips) {
            if (where == options.as) {
                std::printf("skip %s: %s\n", path.c_str(), why.c_str());
                return Verdict::skipped;
            }
        }
        bool good = execute(options, path, transcript.steps);
        std::printf("%s %s: %zu steps\n", good ? "pass" : "FAIL", path.c_str(), transcript.steps.size());
        return good ? Verdict::passed : Verdict::failed;
    } catch (const FormatError &error) {
        std::printf("%s:%d: %s\nFAIL %s\n", path.c_str(), error.line, error.text.c_str(), path.c_str());
        return Verdict::failed;
    }
}

Options read_options(const Words &words)
{
    Options options;
    bool good = true;
    size_t i = 0;
    for (; i + 1 < words.size() && starts_with(words[i], "--"); i += 2) {
        const std::string &value = words[i + 1];
        if (words[i] == "--gateway")
            options.gateway = split(value, ' ');
        else if (words[i] == "--via")
            options.via = split(value, ' ');
        else if (words[i] == "--tool")
            options.tool = value;
        else if (words[i] == "--as")
            options.as = value;
        else if (words[i] == "--timeout" && to_number(value) > 0)
            options.timeout = static_cast<unsigned>(to_number(value));
        else
            good = false;
    }
    options.files.assign(words.begin() + static_cast<ptrdiff_t>(i), words.end());
    if (!good || options.gateway.empty() || options.tool.empty() || options.files.empty() ||
        starts_with(options.files[0], "--")) {
        std::fputs("usage: transcript --gateway \"WORDS\" --tool PATH [--via \"WORDS\"] [--as NAME] "
                   "[--timeout SECONDS] FILE...\n",
                   stderr);
        std::exit(2);
    }
    return options;
}

} // namespace

int main(int argc, char **argv)
{
    Options options = read_options(Words(argv + 1, argv + argc));
    // With the standard descriptors taken, no pipe gets their numbers.
    int spare = 0;
    while (spare >= 0 && spare <= 2)
        spare = open("/dev/null", O_RDWR | O_CLOEXEC);
    close(spare);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGALRM, on_alarm);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    std::array<int, 3> numbers = {};
    for (const std::string &file : options.files)
        numbers[static_cast<size_t>(judge(options, file))]++;
    std::printf("%d passed, %d failed, %d skipped\n", numbers[0], numbers[1], numbers[2]);
    return numbers[1] == 0 ? 0 : 1;
}
