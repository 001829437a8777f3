/*
 * How often an attack is repeated: a few times in the suite, as often as it takes to believe it in the long
 * form.
 */
#pragma once

#include <cstdlib>
#include <string_view>

/* Returns in_full where the environment says QUOR_STORM=full, as script/storm does, otherwise in_suite. */
inline int storm_count(int in_suite, int in_full) {
    const char *extent = std::getenv("QUOR_STORM");  // NOLINT(concurrency-mt-unsafe): nothing writes to it
    return extent != nullptr && std::string_view(extent) == "full" ? in_full : in_suite;
}
