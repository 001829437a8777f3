#include "journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "journal_file.h"
#include "journal_lines.h"
#include "os_log.h"
#include "successor_file.h"
#include "support/file_io.h"

int Journal::report(const char *what, int error) const {
    errno = error;
    OS_LOG_ERRNO((what + (" " + path_)).c_str());
    return error;
}

int Journal::read_lines(int fd, JournalContent &content) {
    const JournalLines read =
        read_journal(fd, path_, [&content](const JournalRecord &record) { return content.take(record); });
    size_ = read.size;
    tail_ = read.is_torn ? Tail::kTorn : Tail::kNone;
    return read.error;
}

int Journal::cut_torn_line() {
    if (tail_ == Tail::kNone) {
        return 0;
    }
    if (::ftruncate(fd_.get(), static_cast<off_t>(size_)) != 0) {
        return errno;
    }
    tail_ = Tail::kNone;
    return 0;
}

int Journal::open(const Replay &replay) {
    if (fd_) {
        return 0;
    }

    UniqueFd fd;
    JournalContent content(store_);
    int error = make_journal_folder(path_);
    if (error == 0) {
        error = open_journal_file(path_, O_RDWR | O_APPEND | O_CREAT, fd);
    }
    if (error == 0) {
        error = read_lines(fd.get(), content);
    }
    if (error != 0) {
        return report("can't open", error);
    }

    fd_ = std::move(fd);
    content.hand_out(replay);
    return 0;
}

int Journal::append_lines(const std::string &lines) {
    int error = cut_torn_line();
    if (error == 0) {
        tail_ = Tail::kTorn;
        error = file_io::write_all(fd_.get(), lines.data(), lines.size()) ? 0 : errno;
    }
    if (error != 0) {
        (void)cut_torn_line(); /* retried before the next record */
        return report("can't write", error);
    }

    tail_ = Tail::kNone;
    size_ += lines.size();
    return 0;
}

int Journal::cut_back(uint64_t size) {
    if (size != size_) {
        size_ = size;
        tail_ = Tail::kTorn;
    }
    return drop_tail();
}

int Journal::drop_tail() {
    const int error = cut_torn_line();
    return error == 0 ? 0 : report("can't cut", error);
}

int Journal::empty() {
    if (size_ == 0 && tail_ == Tail::kNone) {
        return 0;
    }
    if (::ftruncate(fd_.get(), 0) != 0) {
        return errno;
    }
    size_ = 0;
    tail_ = Tail::kNone;
    return 0;
}

int Journal::replace(const Source &source) {
    SuccessorFile file(path_);
    source([&file](const JournalRecord &record) { file.add(format_record(record)); });
    const int error = file.put_in_place(AtomicFile::Sync::kNothing);
    if (error == 0) {
        fd_ = file.take_fd();
        size_ = file.size();
        tail_ = Tail::kNone;
    }
    return error;
}

void Journal::postpone() {
    overgrown_above_ = size_ + std::max(kJournalSmall, size_ / 4);
}

int Journal::rewrite(const Source &source, uint64_t size) {
    /* A full disk still allows emptying the file in place. */
    const int error = size == 0 ? empty() : replace(source);
    postpone();
    return error == 0 ? 0 : report("can't rewrite", error);
}
