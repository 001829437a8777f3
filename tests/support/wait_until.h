/*
 * Waits for conditions instead of fixed times.
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>

/* Long enough for a loaded machine and a sanitized program; only a failing test waits that long. */
inline constexpr std::chrono::seconds kPatience{55};

/* Polls the condition until it is true. Returns false after the time limit. */
bool wait_until(const std::function<bool()> &condition, std::chrono::milliseconds limit = kPatience);

/* Returns the content of a file; "" if it is missing. */
std::string file_text(const std::string &path);

/* Writes a complete file. Returns false, with errno set, on failure. */
bool write_text(const std::string &path, const std::string &text);
