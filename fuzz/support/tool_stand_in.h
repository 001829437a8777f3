/*
 * Simulated system tools: a target that wraps os_popen and os_pclose plays every tool that the library runs.
 */
#pragma once

#include <string>
#include <string_view>

/* Makes every command print these bytes. */
void tools_print(std::string_view bytes);

/* The last command. */
const std::string &last_command();
