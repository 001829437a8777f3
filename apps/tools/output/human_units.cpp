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

std::string two_digits(int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

std::string milliseconds_text(double microseconds) {
    return with_digits(microseconds / kMicrosecondsPerMilli, 3) + " ms";
}

std::string short_milliseconds(double microseconds) {
    const double number = microseconds / kMicrosecondsPerMilli;
    return with_digits(number, number < 9.995 ? 2 : number < 99.95 ? 1 : 0);
}

std::string short_percent(double percent) {
    return with_digits(percent, percent < 99.95 ? 1 : 0);
}

std::string short_duration(double seconds) {
    constexpr int64_t kMinute = 60;
    constexpr int64_t kHour = 60 * kMinute;
    constexpr int64_t kDay = 24 * kHour;
    constexpr int64_t kManyDays = 100 * kDay;
    const auto whole = static_cast<int64_t>(seconds);
    if (whole < kMinute) {
        return std::to_string(whole) + "s";
    }
    if (whole < kHour) {
        return std::to_string(whole / kMinute) + "m";
    }
    if (whole < kDay) {
        return std::to_string(whole / kHour) + "h" + two_digits(whole % kHour / kMinute) + "m";
    }
    const std::string days = std::to_string(whole / kDay) + "d";
    return whole < kManyDays ? days + two_digits(whole % kDay / kHour) + "h" : days;
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
