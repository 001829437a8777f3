/*
 * Whether a store's file is as a service saved it, by the check line in which it ends. Logs nothing. Any
 * thread.
 */
#pragma once

#include <string>

#include "formats/check_line.h"

enum class Integrity {
    kUnknown, /* it has no check line: written by hand or by an older service, or it is empty */
    kSound,
    kWrong, /* it is not what the check line was written for */
    kCut    /* it does not end in a line feed */
};

struct FileCheck {
    int error; /* 0, or an errno value when the file could not be read to its end; ENOENT if it is missing */
    Integrity integrity;
    CheckLine line; /* kSound and kWrong only */
};

FileCheck check_file(const std::string &path);
