#include "store_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "damaged_file.h"
#include "file_steps.h"
#include "formats/check_line.h"
#include "formats/entry_line.h"
#include "formats/store_line.h"
#include "os_log.h"
#include "previous_file.h"
#include "skipped_lines.h"
#include "successor_file.h"
#include "support/line_reader.h"

namespace {

constexpr char kStoreIsFull[] = "the store is full";

/* Adds the entry of a line to the store. Returns null, or the reason why it is skipped. */
const char *load_entry(const Line &line, Store &store) {
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

/* Keeps a line for the next save. Returns null, or the reason why it can't be kept. */
const char *carry(const Line &line, Store &store) {
    const char *problem = line.fits ? comment_problem(line.text) : "it is too long";
    if (problem != nullptr) {
        return problem;
    }
    return store.carry(carried_line(line.text)) ? nullptr : "there are too many lines of a newer service";
}

/* Adds a line that a service has carried along: perhaps it is understood now. */
const char *load_carried(const Line &line, Store &store) {
    Entry entry;
    const bool is_understood = line.fits && parse_entry(carried_text(line.text), entry) == nullptr;
    if (is_understood && store.has_room_for(entry.key)) {
        store.load(entry.key, StoreValue(entry.value));
        return nullptr;
    }
    return carry(line, store);
}

/*
 * Adds a line to the store. Returns null, or the reason why it is skipped. Of a sound file no line is
 * damaged: what is not understood is a newer service's.
 */
const char *load_line(const Line &line, Integrity integrity, Store &store) {
    if (begins_check_line(line.text)) {
        return nullptr;
    }
    if (is_zndb_comment(line.text)) {
        return load_carried(line, store);
    }
    const bool is_comment = line.text.substr(0, 1) == "#";
    const char *problem =
        is_comment && integrity == Integrity::kSound ? "it is a comment" : load_entry(line, store);
    const bool is_newer = problem != nullptr && problem != kStoreIsFull && integrity == Integrity::kSound;
    return is_newer ? carry(line, store) : problem;
}

LoadedFile load_lines(int fd, const std::string &path, Integrity integrity, Store &store) {
    LineReader reader(fd);
    SkippedLines skipped(path);
    Line line = {};
    bool overflowed = false;
    while (reader.next(line)) {
        if (const char *problem = load_line(line, integrity, store)) {
            overflowed = overflowed || problem == kStoreIsFull;
            skipped.report(line.number, problem);
        }
    }
    skipped.report_rest();

    // A file that holds more than the store must not be replaced by what the store holds.
    return {overflowed ? EOVERFLOW : reader.error(), skipped.any() ? Lines::kSomeSkipped : Lines::kAllTaken};
}

/* The size of a store's text, or a bit more: a full store takes megabytes, which growing would double. */
size_t room_for(const Store &store) {
    constexpr size_t kLineExtra = 2; /* '=' and LF */
    size_t size = kCheckLineRoom;
    for (const auto &[key, value] : store.values()) {
        size += key.size() + value.size() + kLineExtra;
    }
    for (const std::string &carried : store.carried()) {
        size += carried.size() + 1;
    }
    return size;
}

/* Has the new file take the old one's place; the old one keeps the name kept, if any. */
int replace(const std::string &path, SuccessorFile &file, Folders folders, OldFile old_file,
            std::string &kept) {
    int error = file.sync();
    if (error == 0 && old_file == OldFile::kIsKept) {
        error = keep_damaged(path, kept);
    }
    if (error == 0 && old_file == OldFile::kBecomesPrevious) {
        keep_as_previous(path);
    }
    if (error == 0) {
        error = file.put_in_place(AtomicFile::Sync::kNames);
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

SavedFile try_to_save(const std::string &path, std::string_view text, Folders folders, OldFile old_file) {
    SuccessorFile file(path);
    file.add(text);
    std::string kept;
    const int error = replace(path, file, folders, old_file, kept);
    settle_damaged(path, kept, file.in_place());
    return {error, file.in_place()};
}

int try_to_rehearse(const std::string &path, std::string_view text, Folders folders, OldFile old_file) {
    SuccessorFile file(path);
    std::string kept;
    int error = 0;
    if (old_file == OldFile::kIsKept) {
        file.add(text); /* the room of the old file is not going to be free */
        error = keep_damaged(path, kept);
    } else {
        file.add(text_of_store(Store(), 0));
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

/* A file that is not sound must not lose the one before it. */
bool may_give_up(OldFile old_file) {
    return old_file == OldFile::kBecomesPrevious;
}

}  // namespace

LoadedFile read_store_file(const std::string &path, const FileCheck &check, Store &store) {
    UniqueFd fd;
    const int error = open_file(path, O_RDONLY, fd);
    if (error != 0) {
        return {error == ENOENT ? 0 : error, Lines::kAllTaken};
    }
    return load_lines(fd.get(), path, check.integrity, store);
}

void report_unreadable(const std::string &path, int error) {
    errno = error;
    OS_LOG_ERRNO(("can't read " + path).c_str());
}

LoadedFile load_store(const std::string &path, Store &store) {
    const LoadedFile loaded = read_store_file(path, check_file(path), store);
    if (loaded.error != 0) {
        report_unreadable(path, loaded.error);
    }
    return loaded;
}

std::string text_of_store(const Store &store, uint64_t generation) {
    std::string text;
    text.reserve(room_for(store));
    for (const auto &[key, value] : store.values()) {
        append_entry(text, {key, value});
    }
    for (const std::string &carried : store.carried()) {
        text += carried + "\n";
    }
    Crc32 crc;
    crc.add(text);
    text += check_line(generation, crc);
    return text;
}

SavedFile save_store(const std::string &path, std::string_view text, Folders folders, OldFile old_file) {
    SavedFile saved = try_to_save(path, text, folders, old_file);
    if (!saved.in_place && may_give_up(old_file) && give_previous_up(path, saved.error)) {
        saved = try_to_save(path, text, folders, old_file);
    }
    if (saved.error != 0) {
        errno = saved.error;
        OS_LOG_ERRNO(("can't save " + path).c_str());
    }
    return saved;
}

int rehearse_emptying(const std::string &path, std::string_view text, Folders folders, OldFile old_file) {
    int error = replacement_obstacle(path);
    if (error != 0) {
        return error; /* before there is a temporary file, which could perhaps not be removed either */
    }
    error = try_to_rehearse(path, text, folders, old_file);
    if (may_give_up(old_file) && give_previous_up(path, error)) {
        error = try_to_rehearse(path, text, folders, old_file);
    }
    return error;
}
