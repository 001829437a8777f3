#include "apptest/startup_list_check.h"

#include <algorithm>
#include <set>

#include "cli/name_lookup.h"
#include "cli/spelling_hint.h"

namespace {

constexpr char kSeparators[] = " \t\n\r";

std::vector<std::string> known_modules(const std::vector<std::string> &own_modules) {
    std::vector<std::string> known = module_names();
    known.insert(known.end(), own_modules.begin(), own_modules.end());
    return known;
}

}  // namespace

ConfigFindings check_startup_list(const std::string &text, const std::vector<std::string> &own_modules) {
    const std::vector<std::string> known = known_modules(own_modules);
    const size_t size = std::min(text.find('\0'), text.size());
    ConfigFindings findings;
    std::set<std::string> seen;
    size_t at = text.find_first_not_of(kSeparators);
    while (at < size) {
        const size_t end = std::min(text.find_first_of(kSeparators, at), size);
        const std::string name = text.substr(at, end - at);
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            findings.push_back({line_at(text, at), unknown_name("module", name, known) + ": ignored"});
        } else if (!seen.insert(name).second) {
            findings.push_back({line_at(text, at), "'" + name + "' is listed twice"});
        }
        at = text.find_first_not_of(kSeparators, end);
    }
    if (size < text.size()) {
        findings.push_back({line_at(text, size), "the text from a NUL byte on is ignored"});
    }
    return findings;
}
