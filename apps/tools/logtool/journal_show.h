/*
 * Shows the system's journal.
 */
#pragma once

#include "logtool/log_request.h"

ExitCode show_journal(const LogRequest &request);
