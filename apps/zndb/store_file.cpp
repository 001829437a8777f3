#include "store_file.h"

#include <fcntl.h>

#include <cerrno>

#include "entry_line.h"
#include "line_reader.h"
#include "os_log.h"
#include "replacement_file.h"

namespace {

/* A file of rubbish must not flood the log. */
constexpr unsigned kLinesReported = 20;

/* Reports the lines of a file that were skipped, the first ones singly. */
class SkippedLines {
  public:
    explicit SkippedLines(const std::string &path) : path_(path) {}

    void report(const Line &line, const char *problem) {
        if (++count_ <= kLinesReported) {
            OS_LOG(OS_LOG_WARNING, "%s line %llu skipped: %s", path_.c_str(),
                   static_cast<unsigned long long>(line.number), problem);
        }
    }
    void report_rest() const {
        if (count_ > kLinesReported) {
            OS_LOG(OS_LOG_WARNING, "%s: %llu more lines skipped", path_.c_str(),
                   static_cast<unsigned long long>(count_ - kLinesReported));
        }
    }

  private:
    const std::string &path_;
    uint64_t count_ = 0;
};

std::string_view without_cr(std::string_view text) {
    return !text.empty() && text.back() == '\r' ? text.substr(0, text.size() - 1) : text;
}

bool means_nothing(std::string_view text) {
    return text.empty() || text[0] == '#';
}

constexpr char kStoreIsFull[] = "the store is full";

/* Takes one line into the store. Returns null, or why it can't be taken. */
const char *load_line(const Line &line, Store &store) {
    const std::string_view text = without_cr(line.text);
    if (means_nothing(text)) {
        return nullptr;
    }
    if (!line.fits) {
        return "it is too long";
    }
    Entry entry;
    if (const char *problem = parse_entry(text, entry)) {
        return problem;
    }
    if (!store.has_room_for(entry.key)) {
        return kStoreIsFull;
    }
    store.load(entry.key, entry.value);
    return nullptr;
}

int load_lines(int fd, const std::string &path, Store &store) {
    LineReader reader(fd);
    SkippedLines skipped(path);
    Line line = {};
    bool overflowed = false;
    while (reader.next(line)) {
        if (const char *problem = load_line(line, store)) {
            overflowed = overflowed || problem == kStoreIsFull;
            skipped.report(line, problem);
        }
    }
    skipped.report_rest();

    // A file that holds more than the store must not be replaced by what the store holds.
    return overflowed ? EOVERFLOW : reader.error();
}

}  // namespace

int load_store(const std::string &path, Store &store) {
    OwnedFd fd;
    int error = open_file(path, O_RDONLY, fd);
    if (error == ENOENT) {
        return 0;
    }
    if (error == 0) {
        error = load_lines(fd.get(), path, store);
    }
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't read " + path).c_str());
    }
    return error;
}

int save_store(const std::string &path, const Store &store, bool folders_are_safe) {
    ReplacementFile file(path);
    for (const auto &[key, value] : store.values()) {
        file.add(key);
        file.add("=");
        file.add(value);
        file.add("\n");
    }
    int error = file.put_in_place(ReplacementFile::Outlives::kPowerCut);
    if (error == 0 && !folders_are_safe) {
        error = sync_folders_above(path);
    }
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't save " + path).c_str());
    }
    return error;
}
