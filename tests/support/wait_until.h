/*
 * Waiting for what another process or thread does, without guessing how long it takes.
 */
#pragma once

#include <chrono>
#include <functional>
#include <string>

/* Long enough for a loaded machine and a sanitized program; only a failing test waits that long. */
inline constexpr std::chrono::seconds kPatience{55};

/* Looks at the condition until it holds. Returns false when the limit passes first. */
bool wait_until(const std::function<bool()> &condition, std::chrono::milliseconds limit = kPatience);

/* Returns the content of a file; "" if it is missing. */
std::string file_text(const std::string &path);

/* Writes a whole file. Returns false, with errno set, when that fails. */
bool write_text(const std::string &path, const std::string &text);
