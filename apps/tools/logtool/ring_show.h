/*
 * Shows the ring buffer of a log daemon that writes no file: the output of logread.
 */
#pragma once

#include "logtool/log_request.h"

ExitCode show_ring(const LogRequest &request);
