/*
 * The environment of a command: that of the process, with some entries replaced by the library's.
 */
#pragma once

#include <memory>

struct FreeEnvironment {
    void operator()(char **entries) const;
};

/*
 * The environment for a command of the calling thread: that of the process, with only the safe folders of its
 * PATH, the mark of the thread's command scope if it has one, and the "C" locale if the thread requested it.
 *
 * Returns nothing, with errno set, without memory. The entries are borrowed.
 */
std::unique_ptr<char *, FreeEnvironment> command_environment();
