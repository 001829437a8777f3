/*
 * Encrypts and decrypts files: the new content is written to a temporary file, which atomically replaces the
 * file when it is complete.
 */
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "atomic_file_log.h"
#include "cipher.h"
#include "cipher_stream.h"
#include "device_key.h"
#include "held_path.h"
#include "os_log.h"
#include "support/atomic_file.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace {

using cipher_stream::Result;
using Change = Result (*)(int from, int to, const device_key::Key &key);

/* Prefix of the name of an unfinished file. */
constexpr char kKind[] = "cipher";

constexpr mode_t kAccessBits = S_IRWXU | S_IRWXG | S_IRWXO;

/* Copies owner and mode of a file. If the owner can't be set, group and others get no access. */
bool copy_access(const struct stat &from, int to) {
    const bool same_owner = fchown(to, from.st_uid, from.st_gid) == 0;
    return fchmod(to, from.st_mode & (same_owner ? kAccessBits : S_IRWXU)) == 0;
}

/* path: without symbolic links. A link that replaces the file meanwhile is not followed. */
Result replace_file(const char *path, Change change, const device_key::Key &key) {
    const HeldPath target(path);
    struct stat info;
    const UniqueFd file =
        target ? file_io::open_regular_in(target.folder(), target.name(), &info) : UniqueFd();
    if (!file) {
        return Result::kFailed;
    }
    AtomicFile changed(target.folder(), target.name());
    if (!changed.create_unique(kKind, log_removed_leftover)) {
        return Result::kFailed;
    }

    const Result result = change(file.get(), changed.fd(), key);
    if (result != Result::kDone) {
        return result;
    }
    const bool placed =
        copy_access(info, changed.fd()) && is_in_place(changed.replace_target(AtomicFile::Sync::kAll), path);
    return placed ? Result::kDone : Result::kFailed;
}

int32_t report(const char *function, const char *path, Result result) {
    const int cause = errno;
    if (result == Result::kFailed) {
        OS_LOG_AS(function, OS_LOG_WARNING, "%s stays as it is, errno=%d, cause: %s", path, cause,
                  strerror(cause));  // NOLINT(concurrency-mt-unsafe)
    }
    if (result == Result::kRefused) {
        OS_LOG_AS(function, OS_LOG_WARNING,
                  "%s is refused: not encrypted, altered, truncated, or encrypted with another key", path);
    }
    return result == Result::kDone ? 1 : 0;
}

/* Resolves symbolic links first, so that the target is replaced and not the link. */
int32_t change_file(const char *function, const char *path, Change change) {
    if (path == nullptr) {
        return 0;
    }
    char resolved[PATH_MAX];
    if (realpath(path, resolved) == nullptr) {
        return report(function, path, Result::kFailed);
    }
    device_key::Key key;
    if (!device_key::derive(device_key::kForFiles, &key)) {
        return 0;
    }
    return report(function, path, replace_file(resolved, change, key));
}

}  // namespace

int32_t zn_encrypt_file_ex(const char *path) {
    return change_file(__func__, path, cipher_stream::encipher);
}

int32_t zn_decrypt_file_ex(const char *path) {
    return change_file(__func__, path, cipher_stream::decipher);
}
