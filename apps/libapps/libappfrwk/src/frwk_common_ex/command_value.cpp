/*
 * Reads a value from a command's output. No state; any thread.
 */
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "frwk_common.h"
#include "frwk_common_ex.h"
#include "internal/frwk_log.h"
#include "internal/unique_pipe.h"

namespace {

constexpr int kAttempts = 11;
constexpr uint32_t kRetryPauseMs = 500;

/* Reads up to size bytes, or until the end of the output; errno is 0 unless the read failed. */
void read_block(std::FILE *stream, char *buffer, size_t size) {
    size_t taken = 0;
    for (;;) {
        errno = 0;
        taken += std::fread(buffer + taken, 1, size - taken, stream);
        if (taken == size || !std::ferror(stream) || errno != EINTR) {
            return;
        }
        std::clearerr(stream);
    }
}

/* Runs the command once. Returns false, and logs the cause, if the buffer still begins with 0. */
bool try_command(const char *command, char *buffer, size_t size) {
    const UniquePipe output(os_popen(command, "r"));
    if (!output) {
        const int cause = errno;
        FRWK_WARN(__func__, "popen :%s failed:%s \n", command,
                  std::strerror(cause));  // NOLINT(concurrency-mt-unsafe)
        return false;
    }

    read_block(output.get(), buffer, size);
    if (buffer[0] == '\0') {
        const int cause = errno;
        FRWK_WARN(__func__, "fread %s failed :%s, sleep 500ms\n", command,
                  std::strerror(cause));  // NOLINT(concurrency-mt-unsafe)
        return false;
    }
    return true;
}

}  // namespace

int32_t frwk_get_popen_value_ex(const char *command, char *buffer, int32_t size) {
    if (command == nullptr || buffer == nullptr || size < 1) {
        return -1;
    }

    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        if (try_command(command, buffer, static_cast<size_t>(size))) {
            return 0;
        }
        if (attempt < kAttempts) {
            frwk_sleep(kRetryPauseMs);
        }
    }
    FRWK_WARN(__func__, "fread %s failed multiple times", command);
    return -1;
}
