/*
 * The exit codes of the command-line tools. Scripts rely on these numbers.
 */
#pragma once

enum class ExitCode {
    kDone = 0,
    kRefused = 1,    /* the device refused, or one of its files can't be used */
    kUsage = 2,      /* the command line is wrong, or names a file that can't be used */
    kUnreachable = 3 /* the module doesn't run or doesn't answer */
};
