/*
 * The variables by which the service is configured.
 */
#pragma once

#include <optional>

/* The variable's text; null if it is missing or empty. */
const char *environment_text(const char *name);

/* A whole number of this base, without a sign or blanks, that is not above max; otherwise nothing. */
std::optional<unsigned long> whole_number(const char *text, int base, unsigned long max);

/* Logs that a variable's text, or a part of it, is not used. */
void warn_ignored(const char *name, const char *text);
