#include "transcript.h"

#include "errors.h"
#include "expand.h"
#include "text.h"
#include "trace.h"

#include <cstdlib>
#include <fstream>

namespace {

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

void parse_what(const Line &line, const std::string &what, Fault &fault)
{
    Words parts = split(what, ':');
    long number = parts.size() > 1 ? to_number(parts[1]) : none;
    const int error = parts.size() == 2 && parts[0] == "fail" ? error_number(parts[1].c_str()) : 0;
    fault.error = error;
    if (what == "fail" || error != 0)
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
        throw FormatError{line.number, "expected a number from 1 or '*' after '#'"};
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

// A line that stands before the "$" line. False for any other.
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

// A line that stands after the "$" line. False for any other.
bool parse_expectation(const Line &line, Step &step)
{
    const std::string &text = line.text;
    if (text == "|")
        step.output += "\n";
    else if (text.starts_with("| "))
        step.output += without_marks(text.substr(2)) + "\n";
    else if (text.starts_with(": "))
        step.output += without_marks(text.substr(2));
    else if (text.starts_with("> "))
        parse_sent(line, step);
    else if (text.starts_with("= ") && to_number(text.substr(2)) != none && step.status == none)
        step.status = to_number(text.substr(2));
    else
        return false;
    return true;
}

void parse_step_line(const Line &line, Step &step)
{
    bool has_command = !step.command.empty();
    if (line.text.starts_with("$ ")) {
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

} // namespace

long to_number(const std::string &text)
{
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
        return none;
    return std::strtol(text.c_str(), nullptr, 10);
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
        else if (line.text.starts_with("skip ") && transcript.steps.empty() && !in_step)
            transcript.skips.push_back(parse_skip(line));
        else if (line.text[0] != '#')
            parse_step_line(line, step);
    }
    finish_step(last, step, transcript.steps);
    if (transcript.steps.empty())
        throw FormatError{last, "no step in it"};
    return transcript;
}
