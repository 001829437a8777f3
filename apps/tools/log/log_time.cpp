#include "log/log_time.h"

#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>
#include <string_view>

namespace {

using Time = std::optional<std::time_t>;

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;
constexpr int64_t kWeek = 7 * kDay;
constexpr int64_t kYear = 31557600; /* 365.25 days */
constexpr int64_t kMonth = kYear / 12;
constexpr int64_t kLongestSpan = 1000 * kYear;
constexpr int kFirstYear = 1900;
constexpr size_t kDateLength = 10; /* of "2026-11-22" */

struct Unit {
    const char *name;
    int64_t seconds;
};

constexpr Unit kUnits[] = {
    {"", 1},
    {"s", 1},
    {"sec", 1},
    {"secs", 1},
    {"second", 1},
    {"seconds", 1},
    {"m", kMinute},
    {"min", kMinute},
    {"mins", kMinute},
    {"minute", kMinute},
    {"minutes", kMinute},
    {"h", kHour},
    {"hr", kHour},
    {"hrs", kHour},
    {"hour", kHour},
    {"hours", kHour},
    {"d", kDay},
    {"day", kDay},
    {"days", kDay},
    {"w", kWeek},
    {"week", kWeek},
    {"weeks", kWeek},
    {"M", kMonth},
    {"month", kMonth},
    {"months", kMonth},
    {"y", kYear},
    {"year", kYear},
    {"years", kYear},
};

struct DayWord {
    const char *name;
    int days; /* from today */
};

constexpr DayWord kDayWords[] = {{"yesterday", -1}, {"today", 0}, {"tomorrow", 1}};

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool same_word(const std::string &left, const char *right) {
    return ::strcasecmp(left.c_str(), right) == 0;
}

std::string trimmed(const std::string &text) {
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

bool has_only(const std::string &text, const char *characters) {
    return text.find_first_not_of(characters) == std::string::npos;
}

/* The nearest time that a time_t holds; one of 32 bits ends in 2038. */
std::time_t shifted(std::time_t time, int64_t seconds) {
    using Limits = std::numeric_limits<std::time_t>;
    const int64_t sum = static_cast<int64_t>(time) + seconds;
    return static_cast<std::time_t>(std::clamp<int64_t>(sum, Limits::min(), Limits::max()));
}

std::tm local(std::time_t time) {
    std::tm parts = {};
    (void)::localtime_r(&time, &parts);
    return parts;
}

std::time_t time_of(std::tm parts) {
    parts.tm_isdst = -1;
    return std::mktime(&parts);
}

/* Not the 30th of February. */
bool is_day(std::tm parts) {
    const int day = parts.tm_mday;
    (void)::timegm(&parts);
    return parts.tm_mday == day;
}

// ---- a day and a clock ----

/* "10:00", "10:00:30" or "10:00:30.123". */
bool read_clock(const std::string &text, std::tm *parts) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    const std::string whole = text.substr(0, text.find('.'));
    // NOLINTNEXTLINE(cert-err34-c): two digits fit
    const int count = std::sscanf(whole.c_str(), "%2d:%2d:%2d", &hour, &minute, &second);
    const auto colons = std::count(whole.begin(), whole.end(), ':');
    const bool fraction = whole.size() < text.size();
    if (!has_only(whole, "0123456789:") || !has_only(text.substr(whole.size()), ".0123456789") ||
        colons + 1 != count || count < (fraction ? 3 : 2) || whole.size() > sizeof("10:00:00") - 1 ||
        hour > 23 || minute > 59 || second > 59) {
        return false;
    }
    parts->tm_hour = hour;
    parts->tm_min = minute;
    parts->tm_sec = second;
    return true;
}

/* "2026-11-22" */
bool read_date(const std::string &text, std::tm *parts) {
    std::tm date = {};
    if (text.size() != kDateLength || !has_only(text, "0123456789-") ||
        // NOLINTNEXTLINE(cert-err34-c): four digits fit
        std::sscanf(text.c_str(), "%4d-%2d-%2d", &date.tm_year, &date.tm_mon, &date.tm_mday) != 3) {
        return false;
    }
    date.tm_year -= kFirstYear;
    --date.tm_mon;
    if (date.tm_mon < 0 || date.tm_mon > 11 || !is_day(date)) {
        return false;
    }
    *parts = date;
    return true;
}

/* Midnight of a day, in the middle of which no clock is changed. */
std::tm day_from_today(std::time_t now, int days) {
    std::tm parts = local(now);
    parts.tm_mday += days;
    parts.tm_hour = 12;
    parts = local(time_of(parts));
    parts.tm_hour = 0;
    parts.tm_min = 0;
    parts.tm_sec = 0;
    return parts;
}

/* "yesterday" */
bool read_day_word(const std::string &text, std::time_t now, std::tm *parts) {
    for (const DayWord &word : kDayWords) {
        if (same_word(text, word.name)) {
            *parts = day_from_today(now, word.days);
            return true;
        }
    }
    return false;
}

Time clock_of_today(const std::string &text, std::time_t now) {
    std::tm parts = day_from_today(now, 0);
    return read_clock(text, &parts) ? Time(time_of(parts)) : std::nullopt;
}

/* "2026-11-22", "2026-11-22 10:00" or "yesterday 10:00". */
Time day_and_clock(const std::string &text, std::time_t now) {
    std::tm parts = {};
    const size_t blank = text.find(' ');
    const std::string day = text.substr(0, blank);
    if (!read_date(day, &parts) && !read_day_word(day, now, &parts)) {
        return std::nullopt;
    }
    const bool fine = blank == std::string::npos || read_clock(trimmed(text.substr(blank)), &parts);
    return fine ? Time(time_of(parts)) : std::nullopt;
}

// ---- a span ----

/* "M" is a month and "m" a minute; otherwise upper and lower case are equal. */
const Unit *unit_named(const std::string &name) {
    const Unit *like = nullptr;
    for (const Unit &unit : kUnits) {
        if (name == unit.name) {
            return &unit;
        }
        like = like == nullptr && same_word(name, unit.name) ? &unit : like;
    }
    return like;
}

/* Takes what ends before one of the characters, and then blanks, from the front of a text. */
std::string take_until(std::string_view *text, const char *characters) {
    const size_t length = std::min(text->find_first_of(characters), text->size());
    std::string taken(text->substr(0, length));
    text->remove_prefix(length);
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
    return taken;
}

/* A number and its unit, in seconds. */
std::optional<int64_t> take_part(std::string_view *text) {
    constexpr size_t kMostDigits = 11;
    const size_t length = std::min(text->find_first_not_of("0123456789"), text->size());
    const std::string number(text->substr(0, length));
    text->remove_prefix(length);
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
    const Unit *unit = unit_named(take_until(text, "0123456789 "));
    if (number.empty() || number.size() > kMostDigits || unit == nullptr) {
        return std::nullopt;
    }
    return std::min<int64_t>(std::stoll(number), kLongestSpan) * unit->seconds;
}

/* "1h 30min" */
std::optional<int64_t> span(const std::string &text) {
    std::string_view rest = text;
    int64_t all = 0;
    do {
        const std::optional<int64_t> part = take_part(&rest);
        if (!part) {
            return std::nullopt;
        }
        all = std::min(all + *part, kLongestSpan);
    } while (!rest.empty());
    return all;
}

/* "-1h" or "+5 min" */
Time signed_span(const std::string &text, std::time_t now) {
    const bool past = text[0] == '-';
    const std::optional<int64_t> seconds =
        past || text[0] == '+' ? span(trimmed(text.substr(1))) : std::nullopt;
    return seconds ? Time(shifted(now, past ? -*seconds : *seconds)) : std::nullopt;
}

/* "5 min ago" */
Time span_ago(const std::string &text, std::time_t now) {
    const size_t ago = text.rfind(' ');
    const bool fits = ago != std::string::npos && same_word(text.substr(ago + 1), "ago");
    const std::optional<int64_t> seconds = fits ? span(trimmed(text.substr(0, ago))) : std::nullopt;
    return seconds ? Time(shifted(now, -*seconds)) : std::nullopt;
}

Time now_itself(const std::string &text, std::time_t now) {
    return same_word(text, "now") ? Time(now) : std::nullopt;
}

/* "boot": the start of the device, by the clock of now, rounded down. */
Time start_of_device(const std::string &text, std::time_t now) {
    timespec running = {};
    const bool fits = same_word(text, "boot") && ::clock_gettime(CLOCK_BOOTTIME, &running) == 0;
    return fits ? Time(shifted(now, -static_cast<int64_t>(running.tv_sec) - 1)) : std::nullopt;
}

/* "@1795000000" */
Time seconds_of_epoch(const std::string &text, std::time_t) {
    const bool fits = text[0] == '@' && has_only(text.substr(1), "0123456789");
    const std::optional<int64_t> seconds = fits ? span(text.substr(1)) : std::nullopt;
    return seconds ? Time(shifted(0, *seconds)) : std::nullopt;
}

// ---- a line's time ----

/* "Nov 21 04:40:00" */
Time without_year(const std::string &text, std::time_t now) {
    std::tm parts = {};
    char month[4] = "";
    int clock = 0;
    // NOLINTNEXTLINE(cert-err34-c): two digits fit
    if (std::sscanf(text.c_str(), "%3[A-Za-z] %2d %n", month, &parts.tm_mday, &clock) != 2 ||
        !read_clock(text.substr(static_cast<size_t>(clock)), &parts)) {
        return std::nullopt;
    }
    const auto *found = std::find_if(std::begin(kMonths), std::end(kMonths),
                                     [&](const char *name) { return same_word(month, name); });
    if (found == std::end(kMonths)) {
        return std::nullopt;
    }
    parts.tm_mon = static_cast<int>(found - std::begin(kMonths));
    parts.tm_year = local(now).tm_year;
    const std::time_t time = time_of(parts);
    --parts.tm_year;
    return time > shifted(now, kDay) ? time_of(parts) : time;
}

/* Cuts the zone off; returns it in seconds. Nothing for the local one. */
std::optional<int64_t> take_zone(std::string *clock) {
    int hours = 0;
    int minutes = 0;
    if (!clock->empty() && clock->back() == 'Z') {
        clock->pop_back();
        return 0;
    }
    const size_t sign = clock->find_first_of("+-");
    if (sign == std::string::npos) {
        return std::nullopt;
    }
    const std::string zone = clock->substr(sign + 1);
    // NOLINTBEGIN(cert-err34-c): two digits fit
    if (std::sscanf(zone.c_str(), "%2d:%2d", &hours, &minutes) < 2) {
        (void)std::sscanf(zone.c_str(), "%2d%2d", &hours, &minutes);
    }
    // NOLINTEND(cert-err34-c)
    const int64_t seconds = hours * kHour + minutes * kMinute;
    const bool west = (*clock)[sign] == '-';
    clock->erase(sign);
    return west ? -seconds : seconds;
}

/* "2026-11-22T10:00:00.123+01:00" */
Time zoned(const std::string &text) {
    std::tm parts = {};
    std::string clock = text.substr(kDateLength + 1);
    const std::optional<int64_t> zone = take_zone(&clock);
    if (!read_date(text.substr(0, kDateLength), &parts) || !read_clock(clock, &parts)) {
        return std::nullopt;
    }
    return zone ? shifted(::timegm(&parts), -*zone) : time_of(parts);
}

using Form = Time (*)(const std::string &text, std::time_t now);
constexpr Form kForms[] = {now_itself,  start_of_device, clock_of_today,   day_and_clock,
                           signed_span, span_ago,        seconds_of_epoch, time_of_line};

}  // namespace

std::string read_time_word(const std::string &word, std::time_t now, std::time_t *time) {
    const std::string text = trimmed(word);
    for (const Form form : kForms) {
        if (const Time read = text.empty() ? std::nullopt : form(text, now)) {
            *time = *read;
            return "";
        }
    }
    return "'" + word +
           "' is not a time; examples: '2026-11-22 10:00', '10:00', '-1h', '5 min ago', 'yesterday'";
}

std::vector<std::string> time_words() {
    return {"now", "boot", "today", "yesterday", "-10min", "-1h", "-1d"};
}

std::optional<std::time_t> time_of_line(const std::string &text, std::time_t now) {
    if (text.size() > kDateLength && text[kDateLength] == 'T') {
        return zoned(text);
    }
    const Time dated = day_and_clock(text, now);
    return dated ? dated : without_year(text, now);
}
