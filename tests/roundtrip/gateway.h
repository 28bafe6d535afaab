// A gateway in the lab: commands typed at it, records sent to its module, and its configuration as text and as records.
#ifndef ROUNDTRIP_GATEWAY_H
#define ROUNDTRIP_GATEWAY_H

#include "kxqos.h"
#include "records.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

// A request as the module answered it.
struct Answer {
    int number;
    int result;
    std::string payload;

    bool operator==(const Answer &) const = default;
};

// What the command "configuration show" printed, and the answers it got.
struct Dump {
    std::string text;
    std::vector<Answer> answers;

    // What a person types back: all lines but the separators.
    Lines commands() const;
    // Rules by profile and number, as the module holds them.
    std::map<std::pair<int, int>, kxqos_rule_t> rules() const;
    // The databases down and up.
    std::vector<kxqos_rl_t> limits() const;
};

class Gateway {
  public:
    Gateway();
    ~Gateway();
    Gateway(const Gateway &) = delete;
    Gateway &operator=(const Gateway &) = delete;

    void reboot() const;
    // Types the commands, "kxqosctl" left out; gives their statuses.
    std::vector<int> type(const Lines &commands) const;
    // Sends requests as they stand.
    std::vector<Answer> send(const std::vector<Answer> &requests) const;
    Dump dump() const;

  private:
    std::string folder;

    std::string run(const Lines &words, const std::string &input) const;
};

// A request that holds a record.
template <typename Record> Answer request(int number, const Record &record)
{
    return {number, 0, std::string(bytes_of(record))};
}

// The requests that put a database in force.
std::vector<Answer> database_requests(const kxqos_rl_t &database);

// Dumps, reboots, types the dump back and dumps again, expecting every command to succeed and both dumps to be the
// same, in text and in records.
void expect_round_trip(const Gateway &gateway);

#endif
