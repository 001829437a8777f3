#include "journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "line_reader.h"
#include "os_log.h"
#include "replacement_file.h"

int Journal::report(const char *what, int error) const {
    errno = error;
    OS_LOG_ERRNO((what + (" " + path_)).c_str());
    return error;
}

int Journal::read_lines(int fd, std::vector<KeptLine> &lines) {
    LineReader reader(fd);
    Line line = {};
    size_ = 0;
    torn_ = false;
    while (!torn_ && reader.next(line)) {
        torn_ = !line.ended;
        if (!torn_) {
            size_ = line.end;
            lines.push_back({std::string(line.text), line.fits});
        }
    }
    return reader.error();
}

void Journal::hand_out(const std::vector<KeptLine> &lines, const Replay &replay) const {
    unsigned long long number = 0;
    for (const KeptLine &line : lines) {
        ++number;
        JournalRecord record = {};
        const char *problem = line.fits ? parse_record(line.text, record) : "it is too long";
        if (problem == nullptr) {
            replay(record);
        } else {
            OS_LOG(OS_LOG_WARNING, "%s line %llu skipped: %s", path_.c_str(), number, problem);
        }
    }
    if (torn_) {
        OS_LOG(OS_LOG_WARNING, "%s: the last line was cut off and is dropped", path_.c_str());
    }
}

int Journal::cut_torn_line() {
    if (!torn_) {
        return 0;
    }
    if (::ftruncate(fd_.get(), static_cast<off_t>(size_)) != 0) {
        return errno;
    }
    torn_ = false;
    return 0;
}

int Journal::open(const Replay &replay) {
    if (fd_) {
        return 0;
    }

    OwnedFd fd;
    std::vector<KeptLine> lines;
    int error = make_folder_of(path_);
    if (error == 0) {
        error = open_file(path_, O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW, fd);
    }
    if (error == 0) {
        error = read_lines(fd.get(), lines);
    }
    if (error != 0) {
        return report("can't open", error);
    }

    fd_ = std::move(fd);
    hand_out(lines, replay);
    return 0;
}

int Journal::append(const JournalRecord &record) {
    const std::string line = format_record(record);
    int error = cut_torn_line();
    if (error == 0) {
        torn_ = true;
        error = write_all(fd_.get(), line.data(), line.size());
    }
    if (error != 0) {
        (void)cut_torn_line(); /* or before the next record */
        return report("can't write", error);
    }

    torn_ = false;
    size_ += line.size();
    return 0;
}

int Journal::empty() {
    if (::ftruncate(fd_.get(), 0) != 0) {
        return errno;
    }
    size_ = 0;
    torn_ = false;
    return 0;
}

int Journal::replace(const std::vector<JournalRecord> &records) {
    ReplacementFile file(path_);
    for (const JournalRecord &record : records) {
        file.add(format_record(record));
    }
    const int error = file.put_in_place(ReplacementFile::Outlives::kCrash);
    if (error == 0) {
        fd_ = file.take();
        size_ = file.size();
        torn_ = false;
    }
    return error;
}

int Journal::rewrite(const std::vector<JournalRecord> &records) {
    /* Emptying needs no room, and room may be what is short. */
    const int error = records.empty() ? empty() : replace(records);
    overgrown_above_ = std::max(kJournalSmall, 2 * size_);
    return error == 0 ? 0 : report("can't rewrite", error);
}
