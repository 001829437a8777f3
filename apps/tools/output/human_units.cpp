#include "output/human_units.h"

#include <cstdio>
#include <iterator>

namespace {

constexpr double kMicrosecondsPerMilli = 1000;
constexpr double kStep = 1024;
constexpr char kUnits[] = {'K', 'M', 'G', 'T', 'P'};

std::string with_digits(double number, int digits) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.*f", digits, number);
    return text;
}

}  // namespace

std::string milliseconds_text(double microseconds) {
    return with_digits(microseconds / kMicrosecondsPerMilli, 3) + " ms";
}

std::string short_milliseconds(double microseconds) {
    const double number = microseconds / kMicrosecondsPerMilli;
    return with_digits(number, number < 9.995 ? 2 : number < 99.95 ? 1 : 0);
}

std::string short_bytes(uint64_t bytes) {
    if (bytes < 1000) {
        return std::to_string(bytes);
    }
    double number = static_cast<double>(bytes) / kStep;
    size_t unit = 0;
    while (number >= 999.5 && unit + 1 < std::size(kUnits)) {
        number /= kStep;
        ++unit;
    }
    return with_digits(number, number < 9.95 ? 1 : 0) + kUnits[unit];
}
