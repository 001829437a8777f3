/*
 * Shows the log of a file.
 */
#pragma once

#include <string>

#include "logtool/log_request.h"

ExitCode show_file(const LogRequest &request, const std::string &path);
