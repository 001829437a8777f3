#include "log/log_tail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "cli/user_signals.h"
#include "device/access_words.h"
#include "log/journal_command.h"
#include "log/journal_line.h"
#include "log/line_splitter.h"
#include "log/log_source.h"
#include "log/program_reader.h"
#include "support/unique_fd.h"

namespace {

/* What is read of a file, and of a module's lines in the journal, to see its processes. */
constexpr off_t kMostBytes = off_t{4} * 1024 * 1024;
constexpr size_t kMostLines = 1000;

class TailReader {
  public:
    TailReader(LogTail &tail, const std::vector<std::string> &modules, size_t count)
        : tail_(tail), count_(count) {
        for (const std::string &module : modules) {
            tail_.modules[module];
        }
    }

    void read_file(const std::string &path) {
        const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
        struct stat info = {};
        if (!fd || ::fstat(fd.get(), &info) != 0) {
            tail_.problem = failure_text("can't read " + path, path, errno);
            return;
        }
        const off_t begin = std::max<off_t>(info.st_size - kMostBytes, 0);
        (void)::lseek(fd.get(), begin, SEEK_SET);
        read_lines(fd.get(), begin > 0);
    }

    void read_journal() {
        for (const auto &[module, log] : tail_.modules) {
            JournalQuery query;
            query.modules = {module};
            query.last = std::max(count_, kMostLines);
            read_program(journal_command(query), [](const std::string &line) {
                std::string cursor;
                return parse_journal_line(line, &cursor);
            });
        }
    }

    void read_ring() { read_program({kRingProgram}, parse_log_line); }

  private:
    /* Ends with a file that grows as fast as it is read. cut: the first line may be the end of one. */
    void read_lines(int fd, bool cut) {
        LineSplitter lines;
        char piece[65536];
        off_t all = 0;
        for (ssize_t size = 0; all <= kMostBytes && (size = ::read(fd, piece, sizeof(piece))) > 0;) {
            all += size;
            lines.add(piece, static_cast<size_t>(size));
            for (std::string line; lines.next(&line); cut = false) {
                take(cut ? LogRecord() : parse_log_line(line));
            }
        }
        take(parse_log_line(lines.rest()));
    }

    void read_program(const std::vector<std::string> &words, LogRecord (*parse)(const std::string &line)) {
        ProgramReader reader(words);
        tail_.problem = reader.problem();
        if (tail_.problem.empty()) {
            reader.read(watch_, [&](const std::string &line) {
                take(parse(line));
                return true;
            });
            tail_.problem = SignalWatch::caught() == 0 ? reader.end() : "";
        }
    }

    void take(const LogRecord &line) {
        const auto found = tail_.modules.find(line.module);
        if (found == tail_.modules.end()) {
            return;
        }
        ModuleLog &log = found->second;
        log.lines.push_back(line);
        if (log.lines.size() > count_) {
            log.lines.pop_front();
        }
        if (!line.process.empty()) {
            log.processes.insert(line.process);
        }
    }

    LogTail &tail_;
    const size_t count_;
    const SignalWatch watch_;
};

void read_into(LogTail &tail, const std::vector<std::string> &modules, size_t count, LogSource source) {
    TailReader reader(tail, modules, count);
    switch (source) {
        case LogSource::kJournal:
            return reader.read_journal();
        case LogSource::kRing:
            return reader.read_ring();
        default:
            return reader.read_file(tail.place);
    }
}

}  // namespace

LogTail read_log_tail(const std::vector<std::string> &modules, size_t count) {
    const LogSource source = system_log_source();
    LogTail tail;
    tail.place = source_text(source, system_log_file());
    read_into(tail, modules, count, source);
    const int signal_number = SignalWatch::caught();
    end_by_signal(signal_number);
    return tail;
}
