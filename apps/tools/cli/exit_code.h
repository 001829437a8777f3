/*
 * How the command-line tools end. Scripts rely on the four numbers.
 */
#pragma once

enum class ExitCode {
    kDone = 0,
    kRefused = 1,    /* the device, or a file of it, said no */
    kUsage = 2,      /* the command line makes no sense, or names a file that can't be used */
    kUnreachable = 3 /* a module that was to be asked doesn't run or doesn't answer */
};
