/*
 * Reads and creates key files. A file with another size than a key's is refused. If two processes create the
 * device's key at the same time, both use the first one.
 */
#include "device_key.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "atomic_file_log.h"
#include "held_path.h"
#include "os_log.h"
#include "sodium_ready.h"
#include "support/atomic_file.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace device_key {

namespace {

constexpr char kProductKey[] = "/etc/quor_product.key";
constexpr char kUserPartition[] = "/m_data";
constexpr char kFolder[] = "/m_data/usr_permanent";
constexpr mode_t kFolderMode = 0755;
constexpr char kDeviceKey[] = "/m_data/usr_permanent/device.key";
constexpr char kKind[] = "device.key"; /* prefix of the name of an unfinished key file */

static_assert(kKeySize == crypto_kdf_KEYBYTES);
static_assert(sizeof(Use) - 1 == crypto_kdf_CONTEXTBYTES);

enum class KeyFile {
    kTaken,
    kMissing,
    kRefused
};

/* The bytes of a key file, and one more to detect that the file is too long. */
struct FileBytes {
    unsigned char bytes[kKeySize + 1];
    size_t size = 0;

    ~FileBytes() { sodium_memzero(bytes, sizeof(bytes)); }
};

void warn(const char *function, const char *what, const char *path) {
    const int cause = errno;
    OS_LOG_AS(function, OS_LOG_WARNING, "can't %s %s, errno=%d, cause: %s", what, path, cause,
              strerror(cause));  // NOLINT(concurrency-mt-unsafe)
}

KeyFile read_key(const char *path, Key *key) {
    const UniqueFd fd(file_io::open_for_reading(path));
    if (!fd && errno == ENOENT) {
        return KeyFile::kMissing;
    }
    FileBytes file;
    if (!fd || !file_io::read_up_to(fd.get(), file.bytes, sizeof(file.bytes), &file.size)) {
        warn(__func__, "read the key file", path);
        return KeyFile::kRefused;
    }
    if (file.size != kKeySize) {
        OS_LOG(OS_LOG_WARNING, "the key file %s is refused: it must hold exactly %zu bytes", path, kKeySize);
        return KeyFile::kRefused;
    }

    memcpy(key->bytes, file.bytes, kKeySize);
    return KeyFile::kTaken;
}

/*
 * A new device may lack the folder. A failure is not logged here, since creating the key file then fails too
 * and logs. The mode doesn't depend on the module's umask, since other modules store files there.
 */
void make_folder() {
    if (mkdir(kFolder, kFolderMode) != 0) {
        return;
    }
    const UniqueFd folder(open(kFolder, O_RDONLY | O_CLOEXEC | O_DIRECTORY));
    if (!folder || fchmod(folder.get(), kFolderMode) != 0 ||
        !file_io::sync_folder(AT_FDCWD, kUserPartition)) {
        warn(__func__, "finish the new folder", kFolder);
    }
}

/* Gives the finished file its name, unless another process was first. */
bool publish(AtomicFile *file) {
    if (is_in_place(file->become_target(), kDeviceKey)) {
        OS_LOG(OS_LOG_WARNING, "%s is missing, made %s: backups can be restored on this device only",
               kProductKey, kDeviceKey);
        return true;
    }
    if (errno != EEXIST) {
        return false;
    }
    if (!file->sync_folder()) { /* the other process may not have synced it yet */
        log_unsynced_folder(kDeviceKey);
    }
    return true;
}

/* Writes a random key to a temporary file first, so that a power cut never leaves half a key. */
bool make_key_file() {
    Key key;
    randombytes_buf(key.bytes, kKeySize);
    make_folder();
    const HeldPath target(kDeviceKey);
    AtomicFile file(target.folder(), target.name());
    const bool made = target && file.create_unique(kKind, log_removed_leftover) &&
                      file_io::write_all(file.fd(), key.bytes, kKeySize) && publish(&file);
    if (!made) {
        warn(__func__, "make the key file", kDeviceKey);
    }
    return made;
}

/* Reads the key back from the file, since another process may have created the file. */
KeyFile read_made_key(Key *key) {
    const KeyFile found = read_key(kDeviceKey, key);
    if (found == KeyFile::kMissing) {
        OS_LOG(OS_LOG_WARNING, "the key file %s vanished as soon as it was made", kDeviceKey);
    }
    return found;
}

KeyFile read_device_key(Key *key) {
    const KeyFile found = read_key(kDeviceKey, key);
    if (found != KeyFile::kMissing) {
        return found;
    }
    return make_key_file() ? read_made_key(key) : KeyFile::kRefused;
}

bool read_any_key(Key *key) {
    KeyFile found = read_key(kProductKey, key);
    if (found == KeyFile::kMissing) {
        found = read_device_key(key);
    }
    return found == KeyFile::kTaken;
}

}  // namespace

Key::Key() : bytes{} {}

Key::~Key() {
    sodium_memzero(bytes, kKeySize);
}

bool derive(const Use &use, Key *key) {
    if (!sodium_ready()) {
        warn(__func__, "get", "random bytes");
        return false;
    }
    Key device;
    if (!read_any_key(&device)) {
        return false;
    }
    return crypto_kdf_derive_from_key(key->bytes, kKeySize, 1, use, device.bytes) == 0;
}

}  // namespace device_key
