/*
 * Whether a tool can play a module, that is, take its identity and its socket.
 */
#pragma once

#include <cstdint>
#include <string>

/*
 * "wlan is running (pid 812)" if a process serves the module or holds its lock; otherwise "". A second
 * process would take over the socket.
 */
std::string running_words(uint32_t module);

/* What this process may not create: the module's lock or its socket. "" if it may create both. */
std::string missing_right(uint32_t module);
