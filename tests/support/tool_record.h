/*
 * Records the versions of the system tools that a test ran, for script/tools-tried.
 */
#pragma once

#include <string>

/*
 * Records that a use of a tool worked, unless the test has failed: a line in the file that QUOR_TOOLS_TRIED
 * names. Does nothing without this variable.
 *
 * use: the use of the tool, such as "ping". tool: its name and package, such as "busybox ping".
 * version: a command that prints the version on its first line.
 */
void record_tool(const std::string &use, const std::string &tool, const std::string &version_command);

/* The same for a recorded output: the version is given. */
void record_tool_version(const std::string &use, const std::string &tool, const std::string &version);
