#include "log/log_source.h"

#include <iterator>

#include "formats/device_paths.h"
#include "log/log_file.h"
#include "log/program_reader.h"

std::string system_log_file() {
    return first_file(paths::kLogFiles, std::size(paths::kLogFiles));
}

LogSource system_log_source() {
    if (!system_log_file().empty()) {
        return LogSource::kFile;
    }
    const bool only_ring = !is_program(kJournalProgram) && is_program(kRingProgram);
    return only_ring ? LogSource::kRing : LogSource::kJournal;
}

std::string source_text(LogSource source, const std::string &file) {
    switch (source) {
        case LogSource::kJournal:
            return "the journal";
        case LogSource::kRing:
            return "the ring buffer";
        default:
            return file;
    }
}
