/*
 * What a command finds in its environment: that of the process, with entries of the library's own.
 */
#pragma once

#include <memory>

struct FreeEnvironment {
    void operator()(char **entries) const;
};

/*
 * The environment of a command of the calling thread: the process's own with the folders of its PATH
 * that are safe, the mark of the thread's command scope if it has one, and the "C" locale where the thread
 * asked for it.
 *
 * Returns nothing, with errno set, when there is no memory. The entries are borrowed.
 */
std::unique_ptr<char *, FreeEnvironment> command_environment();
