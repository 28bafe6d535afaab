// Configurations and commands made at random.
#ifndef PROPERTY_RANDOM_TEXT_H
#define PROPERTY_RANDOM_TEXT_H

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

class Random {
  public:
    explicit Random(uint64_t seed) : engine(seed) {}

    // A number from 0 to most.
    uint64_t upTo(uint64_t most)
    {
        return std::uniform_int_distribution<uint64_t>(0, most)(engine);
    }
    // True once in so many times.
    bool once(uint64_t times)
    {
        return upTo(times - 1) == 0;
    }
    template <typename List> const auto &pick(const List &list)
    {
        return list[upTo(std::size(list) - 1)];
    }

  private:
    std::mt19937_64 engine;
};

struct Limit {
    std::string key; // "vlan 5"
    uint32_t rate;
};

// What a file asks for, not yet as lines. A number of -1 is not named.
struct Setup {
    std::map<std::pair<int, int>, std::string> rules; // by profile and number: from "match" or "action" on
    std::map<int, uint32_t> buckets;
    int modes[2] = {-1, -1}; // of the limits, by direction: down, up
    std::vector<Limit> limits[2];
    int switches[3] = {-1, -1, -1};
    std::map<int, bool> counters;
    std::map<std::string, bool> debug;
    int refresh = -1;
};

Setup random_setup(Random *random);

// Another that differs in few things.
Setup near_setup(const Setup &setup, Random *random);

// Its lines, without newlines: in any order that means the same, spelt in any way that means the same.
std::vector<std::string> lines_of(const Setup &setup, Random *random);

// "match" or "action" and what may follow, all of it right, and such that its line in the dump brings it back.
std::string random_rule(Random *random);

// A match field and its value, right or nearly, with blanks and all else that a name can hold when it is typed; of
// fields that share their place in a rule mostly.
std::pair<std::string, std::string> random_match(Random *random);

// A value, right or nearly, for any field.
std::string random_value(Random *random);

#endif
