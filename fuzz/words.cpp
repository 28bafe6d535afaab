// Words: any words into main. Input: one byte for the gateway's answers, then the words, each ended by a NUL.
#include "gateway.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const auto after = static_cast<tail>(data[0] % static_cast<int>(tail::count));
    const words_t &words = split({reinterpret_cast<const char *>(data) + 1, size - 1});
    const int result = run_tool(words, {}, after);
    if (walkCut)
        return 0;
    check(result == 0 || result == -1 || result == 7, "a result that nobody gave");
    // On a gateway where all goes well, a failure is one of the words, and bad words change nothing. (A rate-limit
    // database that is written back as it was is no change.)
    if (result != 0 && gateway.allSucceeded)
        check(gateway.changes == 0 && gateway.libraryCalls == 0, "a change was made, and yet it failed");
    if (output().starts_with("Err: Unknown command! "))
        check(gateway.requests == 0, "a request was sent for an unknown command");
    if (result == -1 && !words.empty())
        check(output().ends_with("Fail! \n"), "a failure that is not told");
    return 0;
}
