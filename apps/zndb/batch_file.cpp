#include "batch_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "formats/batch_text.h"
#include "journal_file.h"
#include "os_log.h"
#include "support/file_io.h"

int BatchFile::report(const char *what, int error) const {
    errno = error;
    OS_LOG_ERRNO((what + (" " + path_)).c_str());
    return error;
}

int BatchFile::open(int flags) {
    return fd_ ? 0 : open_journal_file(path_, O_RDWR | O_APPEND | flags, fd_);
}

/* A text with one byte more than a batch can have is not a batch. */
int BatchFile::read(std::string &text) const {
    struct stat found = {};
    if (::fstat(fd_.get(), &found) != 0) {
        return errno;
    }
    text.resize(static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(found.st_size), kBatchTextMax)) +
                1);
    size_t count = 0;
    if (!file_io::read_up_to(fd_.get(), text.data(), text.size(), &count)) {
        return errno;
    }
    text.resize(count);
    return 0;
}

int BatchFile::recover(const std::function<int(const std::vector<JournalRecord> &changes)> &complete) {
    if (recovered_) {
        return 0;
    }
    std::string text;
    UniqueFd fd;
    int error = open_journal_file(path_, O_RDWR | O_APPEND, fd);
    if (error == ENOENT) {
        recovered_ = true;
        return 0;
    }
    if (error == 0) {
        fd_ = std::move(fd);
        error = read(text);
    }
    if (error != 0) {
        return report("can't read", error);
    }

    std::vector<JournalRecord> changes;
    if (parse_batch(text, changes)) {
        error = complete(changes);
    } else if (!text.empty()) {
        OS_LOG(OS_LOG_WARNING, "%s: the batch was cut off and is dropped", path_.c_str());
    }
    if (error != 0) {
        return error;
    }
    recovered_ = true;
    empty_ = text.empty();
    if (!empty_) {
        (void)clear(); /* repeated before the next change */
    }
    return 0;
}

int BatchFile::write(const std::vector<JournalRecord> &changes) {
    const std::string text = format_batch(changes);
    int error = open(O_CREAT);
    if (error == 0) {
        empty_ = false;
        error = file_io::write_all(fd_.get(), text.data(), text.size()) ? 0 : errno;
    }
    if (error == 0) {
        return 0;
    }
    if (!empty_) {
        (void)clear();
    }
    return report("can't write", error);
}

int BatchFile::clear() {
    if (::ftruncate(fd_.get(), 0) != 0) {
        return report("can't empty", errno);
    }
    empty_ = true;
    return 0;
}
