/*
 * The flags of a module's row: their words in the module configuration, and what people read. The bits
 * themselves are in frwk_module.h.
 */
#pragma once

#include <cstdint>
#include <string_view>

#include "frwk_module.h"

/* Modules of which only one process may run. */
inline constexpr uint32_t kSingleInstanceFlags = FRWK_FLAG_DAEMON | FRWK_FLAG_MONITORED;

/* Serves messages from its start, but is not monitored; the bit has no word. */
inline constexpr uint32_t kServesUnwatched = 0x4000;

/* Modules that serve messages from their start. */
inline constexpr uint32_t kServingFlags = kSingleInstanceFlags | kServesUnwatched;

/* The bits whose words a text of the configuration holds, wherever in it they stand. */
uint32_t flags_in(const char *text);

/* The bit of one word, in this case of letters; 0 for any other word. */
uint32_t flag_bit(std::string_view word);

/* A bit's word without "FRWK_FLAG_" in front, such as "MONITORED"; null for a bit that has none. */
const char *flag_name(uint32_t bit);
