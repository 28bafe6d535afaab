// Files: any bytes as a file. Input: the file, with NUL for a blank, as words are divided elsewhere, and 0xFF for NUL.
#include "config_program.h"

#include <algorithm>

static std::string file_of(const uint8_t *data, size_t size)
{
    std::string file(reinterpret_cast<const char *>(data), size);
    for (char &c : file)
        c = c == '\0' ? ' ' : c == '\xFF' ? '\0' : c;
    return file;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string file = file_of(data, size);
    const ran checked = run_config({"check", "-"}, file);
    check(found.requests == 0 && checked.output.empty(), "a check asks the gateway, or prints");
    check(checked.status == 0 || checked.status == 2, "not a status of check");
    model_init(&found.module);
    const ran applied = run_config({"apply", "-"}, file);
    check(applied.status == checked.status, "apply takes a file otherwise than check");
    if (checked.status != 0) {
        check(!checked.errors.empty() && found.requests == 0, "refused without a word, or after a request");
        return 0;
    }
    check(run_config({"apply", "-"}, file).status == 0, "applying again fails");
    check(file.find("ref") != std::string::npos || found.changes == 0, "applying again changes something");
    const ran saved = run_config({"save", "-"}, "");
    check(saved.status <= 1 && saved.output.empty() == (saved.status != 0), "what was applied cannot be saved");
    if (saved.status == 0) {
        check(run_config({"apply", "-"}, saved.output).status == 0, "what was saved is not taken");
        check(found.changes == 0, "what was saved is something else");
    }
    // Line by line it comes to the same.
    model_init(&found.module);
    check(run_config({"run", "-"}, file).status == 0, "a file that is right cannot be run");
    check(run_config({"diff", "-"}, file).status == 0, "running a file and applying it differ");
    return 0;
}
