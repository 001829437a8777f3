#include "device/module_words.h"

#include "cli/complaint.h"
#include "cli/name_lookup.h"

ExitCode read_modules(const std::vector<std::string> &words, std::vector<uint32_t> *modules) {
    for (const std::string &word : words) {
        const Named named = find_module(word);
        if (!named.problem.empty()) {
            return complain(ExitCode::kUsage, named.problem);
        }
        modules->push_back(static_cast<uint32_t>(named.number));
    }
    return ExitCode::kDone;
}

std::string joined(const std::vector<std::string> &words, const char *between) {
    std::string all;
    for (const std::string &word : words) {
        all += (all.empty() ? "" : between) + word;
    }
    return all;
}
