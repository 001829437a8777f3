#include "logtool/log_places.h"

#include <unistd.h>

#include "device/text_file.h"
#include "formats/device_paths.h"
#include "log/program_reader.h"

namespace {

/* "of these modules" */
std::string selection(const LogOptions &options) {
    if (!options.since.empty() || !options.until.empty()) {
        return " of this time";
    }
    return !options.programs.empty() ? " of these programs"
           : options.modules.empty() ? ""
                                     : " of these modules";
}

std::string journal_emptiness(const LogOptions &options) {
    const std::string rights =
        ::geteuid() == 0 ? "" : ", or none that this user may read; try 'sudo logtool show'";
    const std::string ring = is_program(kRingProgram) ? "; --logread reads the ring buffer" : "";
    return "the journal has no lines" + selection(options) + rights + ring;
}

/* Whether the user leaves the choice of the source to the tool. */
bool is_free(const LogOptions &options) {
    return options.file.empty() && !options.journal && !options.ring;
}

}  // namespace

std::string chosen_log_file(const LogOptions &options) {
    return is_free(options) ? system_log_file() : options.file;
}

LogSource chosen_source(const LogOptions &options) {
    if (is_free(options)) {
        return system_log_source();
    }
    return options.journal ? LogSource::kJournal : options.ring ? LogSource::kRing : LogSource::kFile;
}

std::string log_place(const LogOptions &options) {
    return options.file == kStandardStream ? "standard input"
                                           : source_text(chosen_source(options), chosen_log_file(options));
}

std::string empty_places(const LogOptions &options) {
    const std::string missing = missing_files(options);
    const std::string before = missing.empty() ? "" : missing.substr(sizeof("; ") - 1) + "; ";
    const bool journal = chosen_source(options) == LogSource::kJournal;
    return before + (journal ? journal_emptiness(options) : log_place(options) + " is empty");
}

std::string missing_files(const LogOptions &options) {
    std::string all;
    if (!is_free(options)) {
        return all;
    }
    for (const char *path : paths::kLogFiles) {
        if (file_exists(path)) {
            return all;
        }
        all += std::string("; ") + path + " is missing";
    }
    return all + (is_program(kJournalProgram) || is_program(kRingProgram) ? "" : "; there is no logread");
}
