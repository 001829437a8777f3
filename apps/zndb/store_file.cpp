#include "store_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "damaged_file.h"
#include "file_steps.h"
#include "formats/entry_line.h"
#include "formats/store_line.h"
#include "os_log.h"
#include "skipped_lines.h"
#include "successor_file.h"
#include "support/line_reader.h"

namespace {

constexpr char kStoreIsFull[] = "the store is full";

/* Adds one line to the store. Returns null, or the reason why it is skipped. */
const char *load_line(const Line &line, Store &store) {
    Entry entry;
    const char *problem = read_store_line(line, entry);
    if (problem != nullptr || entry.key.empty()) {
        return problem;
    }
    if (!store.has_room_for(entry.key)) {
        return kStoreIsFull;
    }
    store.load(entry.key, StoreValue(entry.value));
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

    // A file that holds more than the store must not be replaced by what the store holds.
    return {overflowed ? EOVERFLOW : reader.error(), skipped.any() ? Lines::kSomeSkipped : Lines::kAllTaken};
}

void add_lines(const Store &store, SuccessorFile &file) {
    std::string line;
    for (const auto &[key, value] : store.values()) {
        line.clear();
        append_entry(line, {key, value});
        file.add(line);
    }
}

/* Has the new file take the old one's place; the old one keeps the name kept, if any. */
int replace(const std::string &path, SuccessorFile &file, Folders folders, OldFile old_file,
            std::string &kept) {
    int error = old_file == OldFile::kIsKept ? keep_damaged(path, kept) : 0;
    if (error == 0) {
        error = file.put_in_place(AtomicFile::Sync::kAll);
    }
    if (error == 0 && folders == Folders::kPerhapsNew) {
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
    LoadedFile loaded = {open_file(path, O_RDONLY, fd), Lines::kAllTaken};
    if (loaded.error == ENOENT) {
        return {0, Lines::kAllTaken};
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

SavedFile save_store(const std::string &path, const Store &store, Folders folders, OldFile old_file) {
    SuccessorFile file(path);
    add_lines(store, file);
    std::string kept;
    const int error = replace(path, file, folders, old_file, kept);
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't save " + path).c_str());
    }
    settle_damaged(path, kept, file.in_place());
    return {error, file.in_place()};
}

int rehearse_emptying(const std::string &path, const Store &store, Folders folders, OldFile old_file) {
    int error = replacement_obstacle(path);
    if (error != 0) {
        return error; /* before there is a temporary file, which could perhaps not be removed either */
    }
    SuccessorFile file(path);
    std::string kept;
    if (old_file == OldFile::kIsKept) {
        add_lines(store, file); /* the room of the old file is not going to be free */
        error = keep_damaged(path, kept);
    }
    error = error == 0 ? file.discard() : error;
    if (error == 0 && folders == Folders::kPerhapsNew) {
        error = sync_folders_above(path);
    }
    if (!kept.empty() && ::unlink(kept.c_str()) != 0 && error == 0) {
        error = errno;
    }
    return error;
}
