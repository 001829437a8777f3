/*
 * A failure to write to standard output.
 */
#pragma once

#include "cli/exit_code.h"

/*
 * Reports an output that failed. A reader that has had enough, such as head, is no failure: nothing is
 * printed and the code is kDone.
 *
 * error: the errno value of the write.
 */
ExitCode output_failure(int error);
