/*
 * What a system tool prints: a target that wraps os_popen and os_pclose plays every tool that the library
 * runs.
 */
#pragma once

#include <string>
#include <string_view>

/* From now on every command prints these bytes. */
void tools_print(std::string_view bytes);

/* The command that was run last. */
const std::string &last_command();
