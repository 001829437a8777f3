/*
 * The log facility of a module: its words in the module configuration and its number in the module table.
 */
#pragma once

#include <cstdint>

/* The facility that a text of the configuration names, whatever the case of its letters; 0 for any other
 * text. */
uint32_t facility_in(const char *text);

/* A facility's word; null for a number without one. The numbers are 1 to 20. */
const char *facility_word(uint32_t facility);
