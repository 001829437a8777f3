#include "logtool/log_places.h"

#include <unistd.h>

#include <iterator>

#include "device/text_file.h"
#include "formats/device_paths.h"
#include "logtool/log_file.h"

namespace {

std::string journal_emptiness(const LogOptions &options) {
    const std::string whose = options.modules.empty() ? "" : " of these modules";
    const std::string rights =
        ::geteuid() == 0 ? "" : ", or none that this user may read; try 'sudo logtool show'";
    return "the journal has no lines" + whose + rights;
}

}  // namespace

std::string chosen_log_file(const LogOptions &options) {
    if (!options.file.empty() || options.journal) {
        return options.file;
    }
    return first_file(paths::kLogFiles, std::size(paths::kLogFiles));
}

std::string log_place(const LogOptions &options) {
    const std::string file = chosen_log_file(options);
    return file == kStandardStream ? "standard input" : file.empty() ? "the journal" : file;
}

std::string empty_places(const LogOptions &options) {
    const std::string missing = missing_files(options);
    const std::string before = missing.empty() ? "" : missing.substr(sizeof("; ") - 1) + "; ";
    const std::string file = chosen_log_file(options);
    return before + (file.empty() ? journal_emptiness(options) : log_place(options) + " is empty");
}

std::string missing_files(const LogOptions &options) {
    std::string all;
    if (!options.file.empty() || options.journal) {
        return all;
    }
    for (const char *path : paths::kLogFiles) {
        if (file_exists(path)) {
            break;
        }
        all += std::string("; ") + path + " is missing";
    }
    return all;
}
