#include "journal_lines.h"

#include "os_log.h"
#include "skipped_lines.h"
#include "support/line_reader.h"

namespace {

static_assert(kLineMax >= kRecordLineMax);

/* Returns null, or why the line is skipped. */
const char *take_line(const Line &line,
                      const std::function<const char *(const JournalRecord &record)> &take) {
    if (!line.fits) {
        return "it is too long";
    }
    JournalRecord record = {};
    const char *problem = parse_record(line.text, record);
    return problem != nullptr ? problem : take(record);
}

}  // namespace

JournalLines read_journal(int fd, const std::string &path,
                          const std::function<const char *(const JournalRecord &record)> &take) {
    LineReader reader(fd);
    SkippedLines skipped(path);
    Line line = {};
    JournalLines read = {0, 0, false};
    while (!read.is_torn && reader.next(line)) {
        read.is_torn = !line.ended;
        const char *problem = line.ended ? take_line(line, take) : nullptr;
        if (problem != nullptr) {
            skipped.report(line.number, problem);
        }
        read.size = line.ended ? line.end : read.size;
    }
    read.error = reader.error();
    if (read.error == 0) {
        skipped.report_rest();
        if (read.is_torn) {
            OS_LOG(OS_LOG_WARNING, "%s: the last line was cut off and is dropped", path.c_str());
        }
    }
    return read;
}
