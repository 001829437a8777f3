#include "cli/number_range.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

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

std::string whole_number_problem(const std::string &word, uint64_t lowest, uint64_t highest) {
    if (is_whole_within(word, lowest, highest)) {
        return "";
    }
    const std::string least = std::to_string(lowest);
    const std::string range =
        highest == kAnyHigh ? "of " + least + " or more" : "from " + least + " to " + std::to_string(highest);
    return "'" + word + "' is not a whole number " + range;
}

std::string real_number_problem(const std::string &word, double lowest, double highest) {
    return is_real_within(word, lowest, highest)
               ? ""
               : "'" + word + "' is not a number from " + shortest(lowest) + " to " + shortest(highest);
}
