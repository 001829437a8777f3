/*
 * A tool as a module: it takes its identity before it sends anything.
 */
#pragma once

#include <cstdint>

/*
 * Starts as a module. The debug channel stays off unless QUOR_DEBUG=1 asks for it: a tool says itself what
 * went wrong, and the lines may show values.
 */
void become_module(int32_t id);
