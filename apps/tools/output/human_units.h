/*
 * Formats times and sizes. Pure.
 */
#pragma once

#include <cstdint>
#include <string>

/* "0.123 ms" */
std::string milliseconds_text(double microseconds);

/* The same without the unit, in at most five characters for all times below 100 s: "0.12", "12.3", "123". */
std::string short_milliseconds(double microseconds);

/* Percent in at most four characters: "0.3", "12.5", "100". */
std::string short_percent(double percent);

/* At most six characters: "45s", "12m", "5h12m", "3d04h", "999d". */
std::string short_duration(double seconds);

/* At most five characters: "512", "1.2K", "12K", "1.0M". A K is 1024 bytes. */
std::string short_bytes(uint64_t bytes);
