#include "store_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "damaged_file.h"
#include "entry_line.h"
#include "os_log.h"
#include "replacement_file.h"
#include "skipped_lines.h"
#include "support/line_reader.h"

namespace {

std::string_view without_cr(std::string_view text) {
    return !text.empty() && text.back() == '\r' ? text.substr(0, text.size() - 1) : text;
}

bool means_nothing(std::string_view text) {
    return text.empty() || text[0] == '#';
}

constexpr char kStoreIsFull[] = "the store is full";

/* Adds one line to the store. Returns null, or the reason why it is skipped. */
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

LoadedFile load_lines(int fd, const std::string &path, Store &store) {
    LineReader reader(fd);
    SkippedLines skipped(path);
    Line line = {};
    bool overflowed = false;
    while (reader.next(line)) {
        if (const char *problem = load_line(line, store)) {
            overflowed = overflowed || problem == kStoreIsFull;
            skipped.report(line.number, problem);
        }
    }
    skipped.report_rest();

    // A file that contains more than the store must not be replaced.
    return {overflowed ? EOVERFLOW : reader.error(), skipped.any()};
}

void add_lines(const Store &store, ReplacementFile &file) {
    for (const auto &[key, value] : store.values()) {
        file.add(key);
        file.add("=");
        file.add(value);
        file.add("\n");
    }
}

/* Replaces the file. kept: receives the name of the damaged copy, if one is kept. */
int replace(const std::string &path, ReplacementFile &file, const SaveOptions &options, std::string &kept) {
    int error = options.keep_old ? keep_damaged(path, kept) : 0;
    if (error == 0) {
        error = file.put_in_place(ReplacementFile::Outlives::kPowerCut);
    }
    if (error == 0 && !options.folders_are_safe) {
        error = sync_folders_above(path);
    }
    return error;
}

/* Removes the damaged copy again if the file was not replaced; otherwise logs it. */
void settle_damaged(const std::string &path, const std::string &kept, bool in_place) {
    if (kept.empty()) {
        return;
    }
    if (!in_place) {
        (void)::unlink(kept.c_str());
        return;
    }
    OS_LOG(OS_LOG_WARNING, "%s was damaged: the old file is kept as %s", path.c_str(), kept.c_str());
    forget_old_damaged(path, kept);
}

}  // namespace

LoadedFile load_store(const std::string &path, Store &store) {
    UniqueFd fd;
    LoadedFile loaded = {open_file(path, O_RDONLY, fd), false};
    if (loaded.error == ENOENT) {
        return {0, false};
    }
    if (loaded.error == 0) {
        loaded = load_lines(fd.get(), path, store);
    }
    if (loaded.error != 0) {
        errno = loaded.error;
        OS_LOG_ERRNO(("can't read " + path).c_str());
    }
    return loaded;
}

SavedFile save_store(const std::string &path, const Store &store, const SaveOptions &options) {
    ReplacementFile file(path);
    add_lines(store, file);
    std::string kept;
    const int error = replace(path, file, options, kept);
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't save " + path).c_str());
    }
    settle_damaged(path, kept, file.in_place());
    return {error, file.in_place()};
}
