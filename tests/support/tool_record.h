/*
 * Which versions of the system's tools a test has tried, for script/tools-tried.
 */
#pragma once

#include <string>

/*
 * Notes that a use of a tool worked, unless the test has failed. A note is a line in the file that
 * QUOR_TOOLS_TRIED names; without that nothing is noted.
 *
 * use: what the tool was tried for, such as "ping". tool: its name and package, such as "busybox ping".
 * version: a command that prints the version, of which the first line counts.
 */
void record_tool(const std::string &use, const std::string &tool, const std::string &version_command);

/* The same for a recorded output: the version is given. */
void record_tool_version(const std::string &use, const std::string &tool, const std::string &version);
