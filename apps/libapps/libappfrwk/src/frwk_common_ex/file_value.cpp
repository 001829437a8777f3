/*
 * Reads and writes values in small files, such as sysfs nodes and flags, each with one call, since every
 * write to a node counts as a complete value. No state; any thread.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "frwk_common.h"
#include "frwk_common_ex.h"
#include "internal/frwk_log.h"
#include "support/uninterrupted.h"
#include "support/unique_fd.h"

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr int kRetries = 10;
constexpr uint32_t kRetryPauseMs = 500;

/* Opens a file; owns nothing on failure. */
UniqueFd open_value_file(const char *path, int flags) {
    UniqueFd fd(::open(path, O_RDWR | O_CLOEXEC | flags, kNewFileMode));
    /* If standard input is closed, open returns 0, which must not be used for the file. */
    if (fd.get() < 1) {
        FRWK_WARN(__func__, "open %s fialed!", path);
        fd.reset();
    }
    return fd;
}

/* Repeats the attempt until it returns 0. Returns the last result. */
template <typename Attempt>
int32_t retry_file_value(const char *path, Attempt attempt) {
    int32_t result = attempt();
    for (int retries = 0; result != 0 && retries < kRetries; ++retries) {
        const int cause = errno;
        FRWK_WARN(__func__, "write %s failed :%s, sleep 500ms\n", path,
                  std::strerror(cause));  // NOLINT(concurrency-mt-unsafe)
        frwk_sleep(kRetryPauseMs);
        result = attempt();
    }
    return result;
}

}  // namespace

int32_t frwk_set_file_value(const char *path, const void *data, int32_t length) {
    if (path == nullptr || length < 0 || (data == nullptr && length > 0)) {
        return -1;
    }

    const UniqueFd fd = open_value_file(path, O_CREAT | O_TRUNC);
    if (!fd) {
        return -1;
    }

    const auto written = static_cast<int32_t>(
        uninterrupted([&] { return ::write(fd.get(), data, static_cast<size_t>(length)); }));
    if (written != length) {
        const int cause = errno;
        FRWK_WARN(__func__, "write %s fialed! ret is %d, value len is %d, errno is %d", path, written, length,
                  cause);
        return -1;
    }
    return 0;
}

int32_t frwk_get_file_value(const char *path, void *buffer, int32_t length) {
    if (path == nullptr || buffer == nullptr || length < 0) {
        return -1;
    }

    const UniqueFd fd = open_value_file(path, 0);
    if (!fd) {
        return -1;
    }

    const auto taken = static_cast<int32_t>(
        uninterrupted([&] { return ::read(fd.get(), buffer, static_cast<size_t>(length)); }));
    if (taken <= 0) {
        const int cause = errno;
        FRWK_WARN(__func__, "read %s fialed! ret is %d, errno is %d", path, taken, cause);
        return -1;
    }
    return 0;
}

int32_t frwk_set_file_value_ex(const char *path, const void *data, int32_t length) {
    if (path == nullptr || data == nullptr || length < 1) {
        return -1;
    }
    return retry_file_value(path, [&] { return frwk_set_file_value(path, data, length); });
}

int32_t frwk_get_file_value_ex(const char *path, void *buffer, int32_t length) {
    if (path == nullptr || buffer == nullptr || length < 1) {
        return -1;
    }
    return retry_file_value(path, [&] { return frwk_get_file_value(path, buffer, length); });
}
