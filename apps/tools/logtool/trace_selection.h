/*
 * Which modules are traced by the modem's service: a file for each, and one that switches the whole on. What
 * counts of them is the library's business, which writes the mask.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/* Whether tracing is switched on. */
bool tracing_is_on();

/* The modules of the table that are to be traced. */
std::vector<uint32_t> traced_modules();

/* The words of the mask; "" when there is none. */
std::string trace_mask();

/* Switches tracing as a whole, or that of a module. They return "" or why it can't be done. */
std::string switch_tracing(bool on);
std::string switch_trace_of(uint32_t module, bool on);
