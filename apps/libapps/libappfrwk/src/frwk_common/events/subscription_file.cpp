/*
 * Subscription files. Publishers read them without the lock, so every change is one write.
 */
#include "frwk_common/events/subscription_file.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "formats/device_paths.h"
#include "internal/guarded_file.h"
#include "internal/small_buffer.h"
#include "os_file.h"
#include "support/letter_case.h"
#include "support/uninterrupted.h"

namespace events {

namespace {

/* Publishers of other users may read it. */
constexpr mode_t kFileMode = 0644;

/* Smaller files need no heap. */
constexpr uint32_t kFixedTextSize = 512;

using TextBuffer = SmallBuffer<kFixedTextSize>;

/* Whether a name can be a file in a folder: no path, and neither "." nor "..". */
bool is_file_name(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

/* Whether a line of the file is this name; nothing, with errno set, if the file can't be read to its end. */
std::optional<bool> lists(const SubscriptionFile &file, const char *name) {
    if (file.is_empty()) {
        return false;
    }
    SubscriptionLines lines(file);
    if (!lines) {
        return std::nullopt;
    }
    while (const char *line = lines.next()) {
        if (same_ignoring_case(line, name)) {
            return true;
        }
    }
    errno = lines.error();
    return errno == 0 ? std::optional<bool>(false) : std::nullopt;
}

/* Appends a line to a file of this size: the complete line or, if the disk is full, nothing. */
bool append_line(const UniqueFd &fd, uint64_t size, const char *name) {
    char line_end = kSubscriptionEnd;
    const size_t length = std::strlen(name);
    const iovec line[] = {{const_cast<char *>(name), length}, {&line_end, 1}};
    const ssize_t written = uninterrupted([&] { return ::writev(fd.get(), line, 2); });
    if (written == static_cast<ssize_t>(length + 1)) {
        return true;
    }
    if (written >= 0) {
        errno = ::ftruncate(fd.get(), static_cast<off_t>(size)) == 0 ? ENOSPC : EIO;
    }
    return false;
}

/* Reads up to size bytes; nothing on failure, since a rewrite would lose the rest. */
std::optional<std::string_view> read_text(const SubscriptionFile &file, char *text, size_t size) {
    const UniqueFd fd = file.open(O_RDONLY);
    if (!fd) {
        return std::nullopt;
    }
    size_t taken = 0;
    ssize_t count = 1;
    while (taken < size && count > 0) {
        count = uninterrupted([&] { return ::read(fd.get(), text + taken, size - taken); });
        taken += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return count >= 0 ? std::optional<std::string_view>({text, taken}) : std::nullopt;
}

/* Replaces the content of a file by two texts, stored one after the other. */
Removal rewrite(const SubscriptionFile &file, std::string_view start, size_t end_size) {
    const UniqueFd fd = file.open(O_RDWR | O_CREAT | O_TRUNC);
    if (!fd) {
        return Removal::kNotOpened;
    }

    const size_t size = start.size() + end_size;
    if (size == 0) {
        (void)::unlink(file.path());
        ::sync();
        return Removal::kRemoved;
    }
    const ssize_t written = uninterrupted([&] { return ::write(fd.get(), start.data(), size); });
    if (written == static_cast<ssize_t>(size)) {
        return Removal::kRemoved;
    }
    const bool start_short = !start.empty() && written < static_cast<ssize_t>(start.size());
    return start_short ? Removal::kStartShort : Removal::kEndShort;
}

}  // namespace

SubscriptionFile::SubscriptionFile(const char *event) {
    const bool usual = os_file_exist(paths::kSubscribeFolder) != 0;
    const std::string_view folder = usual ? paths::kSubscribeFolder : paths::kSubscribeFolderEx;
    (void)std::snprintf(path_, sizeof(path_), "%s/%s", folder.data(), event != nullptr ? event : "");
    names_a_file_ = is_file_name(path_ + folder.size() + 1);
}

uint64_t SubscriptionFile::size() const {
    return names_a_file_ ? os_file_size(path_) : 0;
}

UniqueFd SubscriptionFile::open(int flags) const {
    if (!names_a_file_) {
        errno = EINVAL;
        return UniqueFd();
    }
    return open_guarded(path_, flags, kFileMode, Planted::kRefuse, FolderOwner::kTrustedWithParent);
}

// cppcheck-suppress uninitMemberVar ; the buffers are filled before they are read, as used_ and filled_ say
SubscriptionLines::SubscriptionLines(const SubscriptionFile &file) : fd_(file.open(O_RDONLY)) {}

const char *SubscriptionLines::next() {
    line_.clear();
    while (!line_.is_whole() && fill()) {
        used_ += line_.take({block_ + used_, filled_ - used_});
    }
    return line_.empty() ? nullptr : line_.name();
}

/*
 * Whether there is another byte; reads the next block if the present one is used up. A block that was not
 * full is the last one: if the file has changed meanwhile, a further read could start in the middle of a
 * line.
 */
bool SubscriptionLines::fill() {
    if (used_ == filled_ && !last_block_) {
        const ssize_t taken = uninterrupted([this] { return ::read(fd_.get(), block_, sizeof(block_)); });
        error_ = taken < 0 ? errno : 0;
        used_ = 0;
        filled_ = taken > 0 ? static_cast<size_t>(taken) : 0;
        last_block_ = filled_ < sizeof(block_);
    }
    return used_ < filled_;
}

Addition add_subscriber(const SubscriptionFile &file, const char *name) {
    const std::optional<bool> listed = lists(file, name);
    if (!listed) {
        return Addition::kNotAdded;
    }
    if (*listed) {
        return Addition::kListed;
    }

    const uint64_t size = file.size();
    const UniqueFd fd = file.open(O_RDWR | O_CREAT | O_APPEND);
    return fd && append_line(fd, size, name) ? Addition::kAdded : Addition::kNotAdded;
}

Removal remove_subscriber(const SubscriptionFile &file, const char *name) {
    if (file.is_empty()) {
        return Removal::kNotListed;
    }

    const uint64_t size = file.size();
    TextBuffer buffer;
    if (size >= UINT32_MAX || !buffer.reserve(static_cast<uint32_t>(size) + 1)) {
        return Removal::kNoMemory;
    }
    char *bytes = reinterpret_cast<char *>(buffer.data());
    const std::optional<std::string_view> text = read_text(file, bytes, static_cast<size_t>(size));
    if (!text) {
        return Removal::kNotOpened;
    }

    const TextPart removed = subscription_of(name, *text);
    if (removed.empty()) {
        return Removal::kNotListed;
    }
    const size_t end_size = text->size() - removed.end;
    std::memmove(bytes + removed.begin, bytes + removed.end, end_size);
    return rewrite(file, text->substr(0, removed.begin), end_size);
}

}  // namespace events
