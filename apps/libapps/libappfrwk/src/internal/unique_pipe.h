/*
 * The owner of a stream of os_popen.
 */
#pragma once

#include "os_process.h"
#include "support/unique_fd.h"

struct PipeTraits {
    using Handle = std::FILE *;
    static constexpr Handle kNone = nullptr;
    static void release(Handle stream) { os_pclose(stream); }
};

using UniquePipe = Owned<PipeTraits>;
