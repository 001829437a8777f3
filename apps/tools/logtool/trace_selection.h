/*
 * The modules traced by the modem service: a file for each, and one that switches tracing on. The library
 * interprets these files and writes the mask.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/* Whether tracing is switched on. */
bool tracing_is_on();

/* The modules of the table that are selected for tracing. */
std::vector<uint32_t> traced_modules();

/* The words of the mask; "" without a mask. */
std::string trace_mask();

/* Switch all tracing, or that of a module. They return "" or the problem. */
std::string switch_tracing(bool on);
std::string switch_trace_of(uint32_t module, bool on);
