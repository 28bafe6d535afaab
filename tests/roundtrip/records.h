// Records as the bytes that they are, and numbers by chance.
#ifndef ROUNDTRIP_RECORDS_H
#define ROUNDTRIP_RECORDS_H

#include <cstdint>
#include <string_view>

template <typename Record> std::string_view bytes_of(const Record &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

template <typename Record> bool same(const Record &left, const Record &right)
{
    return bytes_of(left) == bytes_of(right);
}

// Numbers that are the same everywhere for the same seed, which is not 0.
struct Random {
    uint64_t state;

    // 0 to below - 1
    uint32_t pick(uint32_t below)
    {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        return static_cast<uint32_t>((state * 0x2545f4914f6cdd1dU) >> 32) % below;
    }
};

#endif
