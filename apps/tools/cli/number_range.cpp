#include "cli/number_range.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

bool is_whole_within(const std::string &word, uint64_t lowest, uint64_t highest) {
    char *end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(word.c_str(), &end, 0);
    return is_digit(word[0]) && *end == '\0' && errno == 0 && value >= lowest && value <= highest;
}

/* Not a number (NaN) is within no range. */
bool is_real_within(const std::string &word, double lowest, double highest) {
    char *end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    const bool begins = is_digit(word[0]) || word[0] == '.' || word[0] == '-';
    return begins && *end == '\0' && value >= lowest && value <= highest;
}

/* Without zeros at the end of the fraction. */
std::string shortest(double number) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.10g", number);
    return text;
}

}  // namespace

CLI::Validator whole_number(uint64_t lowest, uint64_t highest) {
    const std::string range = highest == kAnyHigh
                                  ? std::to_string(lowest) + " or more"
                                  : "from " + std::to_string(lowest) + " to " + std::to_string(highest);
    const std::string kind = highest == kAnyHigh ? "' is not a whole number of " : "' is not a whole number ";
    const auto check = [=](const std::string &word) {
        return is_whole_within(word, lowest, highest) ? std::string() : "'" + word + kind + range;
    };
    return CLI::Validator(check, "");
}

CLI::Validator real_number(double lowest, double highest) {
    const auto check = [=](const std::string &word) {
        return is_real_within(word, lowest, highest)
                   ? std::string()
                   : "'" + word + "' is not a number from " + shortest(lowest) + " to " + shortest(highest);
    };
    return CLI::Validator(check, "");
}
