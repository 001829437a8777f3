/*
 * Checks captured log lines.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "doubles/log_capture.h"

/* The levels of the system log, as its messages carry them. */
inline constexpr int kWarningLevel = 4;
inline constexpr int kNoticeLevel = 5;
inline constexpr int kDebugLevel = 7;
inline constexpr int kVerboseLevel = 8;

inline size_t count_lines(const std::vector<LogLine> &lines, int level, const std::string &text) {
    size_t count = 0;
    for (const LogLine &line : lines) {
        count += line.level == level && line.text == text ? 1u : 0u;
    }
    return count;
}

/* Whether both channels received one line with this level and exactly this text. */
inline testing::AssertionResult logged_once(const LogCapture &log, int level, const std::string &text) {
    if (count_lines(log.debug_lines(), level, text) == 1 &&
        count_lines(log.system_lines(), level, text) == 1) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "not one line \"" << text << "\" of level " << level << " on each channel, but:\n"
           << log.text();
}

/* The same, and the line must name the function that wrote it. */
inline testing::AssertionResult logged_once(const LogCapture &log, int level, const std::string &function,
                                            const std::string &text) {
    for (const LogLine &line : log.debug_lines()) {
        if (line.text == text && line.function != function) {
            return testing::AssertionFailure() << "\"" << text << "\" names " << line.function;
        }
    }
    return logged_once(log, level, text);
}

/* The text of a failure that left its cause in errno. */
inline std::string with_errno(const std::string &text, int error) {
    return text + " errno=" + std::to_string(error) + ", cause: " + std::strerror(error);
}

/* The text of a failed assertion. */
inline std::string assertion(const std::string &condition, const std::string &message = "") {
    return "ASSERT(" + condition + ") " + message;
}
