#include "view_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "formats/device_paths.h"
#include "formats/zndb_view_reader.h"
#include "internal/planted.h"
#include "journal_file.h"
#include "os_log.h"
#include "os_time.h"
#include "support/atomic_file.h"
#include "support/futex.h"
#include "support/uninterrupted.h"

namespace {

using view::Place;

/* Somebody has written to the present file. */
constexpr int kDamaged = EILSEQ;

/*
 * The first serial where there is no earlier file, since it may have been removed to make room: readers have
 * seen a smaller one, unless there were a thousand changes in each second since the device was started.
 */
uint32_t first_serial() {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    return static_cast<uint32_t>(seconds) * 1000U + static_cast<uint32_t>(nanoseconds / 1000000);
}

/* A service that is started again gets another number, even at once. */
uint32_t new_instance() {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    return static_cast<uint32_t>(seconds) * 1000000U + static_cast<uint32_t>(nanoseconds / 1000);
}

template <typename Visit>
void each_store(const Contents &contents, Visit visit) {
    visit(Place::kPlain, contents.plain);
    visit(Place::kPerm, contents.perm);
    visit(Place::kFactory, contents.factory);
    visit(Place::kDefaults, contents.defaults);
}

size_t size_of(const Contents &contents) {
    size_t size = 0;
    each_store(contents, [&size](Place, const Store &store) {
        for (const auto &[key, value] : store.values()) {
            size += view::record_size(key.size(), value.size());
        }
    });
    return size;
}

size_t keys_of(const Contents &contents) {
    size_t keys = 0;
    each_store(contents, [&keys](Place, const Store &store) { keys += store.values().size(); });
    return keys;
}

bool add_all(view::Writer &writer, const Contents &contents) {
    bool added = true;
    each_store(contents, [&](Place place, const Store &store) {
        for (const auto &[key, value] : store.values()) {
            added = added && writer.add(place, key, value);
        }
    });
    return added;
}

}  // namespace

ViewFile::ViewFile(std::string path, ViewAccess access, OwnerMark *mark)
    : path_(std::move(path)), access_(access), mark_(mark), instance_(new_instance()) {}

ViewFile::~ViewFile() {
    if (mark_ != nullptr) {
        mark_->forget();
    }
}

/* The file of an earlier service of this user, or nothing. */
MappedFile ViewFile::predecessor() const {
    (void)set_aside_planted(path_.c_str(), FolderOwner::kStranger);
    const UniqueFd fd(::open(path_.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat found = {};
    MappedFile memory;
    const bool usable = fd && ::fstat(fd.get(), &found) == 0 && S_ISREG(found.st_mode) &&
                        found.st_uid == ::geteuid() && found.st_size > 0 && found.st_size < INT32_MAX &&
                        memory.map(fd.get(), static_cast<size_t>(found.st_size), PROT_READ | PROT_WRITE);
    if (!usable || !view::Block::open(memory.data(), memory.size())) {
        memory.reset();
    }
    return memory;
}

void ViewFile::began(const Contents &contents) {
    contents_.emplace(contents);
    int error = make_journal_folder(path_);
    MappedFile old = error == 0 ? predecessor() : MappedFile();
    serial_ = old ? view::Reader(*view::Block::open(old.data(), old.size())).serial() : first_serial();
    present_.memory = std::move(old);
    if (error == 0) {
        error = end_is_noted() ? make_anew() : EOPNOTSUPP;
    }
    if (error != 0) {
        give_up(error);
    }
}

/*
 * Without that, readers of a service that was killed and whose file was removed would never know. They ask
 * the service instead.
 */
bool ViewFile::end_is_noted() const {
    return mark_ == nullptr || mark_->is_available();
}

bool ViewFile::write(view::Writer &writer, const JournalRecord &change) {
    switch (change.change) {
        case JournalRecord::Change::kSet:
            return writer.set(change.store, change.key, change.value);
        case JournalRecord::Change::kErase:
            return writer.erase(change.store, change.key);
        default:
            return writer.clear(change.store);
    }
}

/* Returns false if the file has no room; then only some of the changes may have been written. */
bool ViewFile::update(const Changes &changes) {
    view::Writer &writer = *present_.writer;
    bool written = true;
    writer.begin();
    for (const JournalRecord &change : changes) {
        written = written && (write(writer, change) ||
                              (writer.has_garbage() && writer.compact() && write(writer, change)));
    }
    if (written) {
        writer.end();
    }
    return written;
}

bool ViewFile::is_too_large() const {
    const view::Writer &writer = *present_.writer;
    return present_.memory.size() / 2 >= view::size_for(writer.keys(), writer.used());
}

/* Whether somebody has removed or replaced the file; looked at once a second. */
bool ViewFile::is_lost() {
    const uint32_t now = os_uptime_sec();
    if (looked_at_ == now) {
        return false;
    }
    looked_at_ = now;
    struct stat found = {};
    return ::lstat(path_.c_str(), &found) != 0 || found.st_dev != present_.device ||
           found.st_ino != present_.number;
}

void ViewFile::changed(const Changes &changes) {
    int error = 0;
    if (!end_is_noted()) {
        return;
    }
    if (!present_.writer) {
        const uint32_t now = os_uptime_sec();
        if (std::exchange(looked_at_, now) == now) {
            return; /* it has just failed */
        }
        error = make_anew();
    } else if (!present_.writer->is_whole() || is_lost()) {
        OS_LOG(OS_LOG_WARNING, "%s was removed or changed by somebody, it is written again", path_.c_str());
        error = make_anew();
    } else if (!update(changes)) {
        error = make_larger(changes);
    } else if (is_too_large()) {
        error = make_smaller();
    }
    if (error != 0) {
        give_up(error);
    } else {
        futex_wake_all(present_.writer->serial_word());
    }
}

void ViewFile::retry() {
    if (!present_.writer) {
        changed({nullptr, 0});
    }
}

/* A change that is not in a journal is lost in a crash; readers without a view ask the service. */
bool ViewFile::free_room() {
    const bool has_file = static_cast<bool>(present_.memory);
    if (has_file) {
        looked_at_ = os_uptime_sec();
        give_up(ENOSPC);
    }
    return has_file;
}

/* Gives a new file its owner and mode. Returns 0 or an errno value. */
int ViewFile::settle(int fd, Made &made) const {
    if (access_.group != static_cast<gid_t>(-1) && ::fchown(fd, static_cast<uid_t>(-1), access_.group) != 0) {
        OS_LOG_ERRNO(("can't give " + path_ + " to its group").c_str());
    }
    struct stat found = {};
    if (::fchmod(fd, access_.mode) != 0 || ::fstat(fd, &found) != 0) {
        return errno;
    }
    made.device = found.st_dev;
    made.number = found.st_ino;
    return 0;
}

/* Makes another file and puts it in place. fill: writes its records. Returns 0 or an errno value. */
template <typename Fill>
int ViewFile::make(size_t keys, size_t records, Fill fill) {
    const size_t size = view::size_for(keys, records);
    serial_ = present_.writer ? present_.writer->serial() : serial_;
    (void)set_aside_planted((path_ + paths::kTemporarySuffix).c_str(), FolderOwner::kStranger);
    AtomicFile file(AT_FDCWD, path_.c_str());
    Made made;
    /* All memory is taken now: a page that can't be had later would kill the service, or a reader. */
    if (!file.create_beside(paths::kTemporarySuffix) ||
        uninterrupted([&] { return ::fallocate(file.fd(), 0, 0, static_cast<off_t>(size)); }) != 0 ||
        !made.memory.map(file.fd(), size, PROT_READ | PROT_WRITE)) {
        return errno;
    }
    made.writer.emplace(made.memory.data(), size, keys, instance_, serial_ + 1);
    if (!fill(*made.writer)) {
        return kDamaged;
    }
    made.writer->publish();
    const int error = settle(file.fd(), made);
    if (error != 0) {
        return error;
    }
    if (file.replace_target(AtomicFile::Sync::kNothing) == AtomicFile::Placed::kNo) {
        return errno;
    }
    replace(std::move(made));
    return 0;
}

/* Tells the readers of the present file that there is another one. */
void ViewFile::replace(Made made) {
    if (mark_ != nullptr) {
        mark_->move_to(made.writer->owner_word());
    }
    std::swap(present_, made);
    if (made.memory) {
        futex_wake_all(view::retire(made.memory.data()));
    }
}

/* Those who watch go on where they are. */
int ViewFile::make_larger(const Changes &changes) {
    const view::Writer &old = *present_.writer;
    size_t more = 0;
    for (const JournalRecord &change : changes) {
        more += view::record_size(change.key.size(), change.value.size());
    }
    const int error = make(old.keys() + changes.count, old.used() + more, [&](view::Writer &writer) {
        bool written = writer.take_over(old);
        writer.begin();
        for (const JournalRecord &change : changes) {
            written = written && write(writer, change);
        }
        writer.end();
        return written;
    });
    return error == kDamaged ? make_anew() : error;
}

int ViewFile::make_smaller() {
    const view::Writer &old = *present_.writer;
    const int error =
        make(old.keys(), old.used(), [&old](view::Writer &writer) { return writer.take_over(old); });
    return error == kDamaged ? make_anew() : error;
}

/* Those who watch are told that they may have missed something. */
int ViewFile::make_anew() {
    return make(keys_of(*contents_), size_of(*contents_),
                [this](view::Writer &writer) { return add_all(writer, *contents_); });
}

/* The file's readers would read old values. */
void ViewFile::give_up(int error) {
    errno = error;
    OS_LOG_ERRNO(("no view for readers: can't write " + path_).c_str());
    if (present_.memory) {
        futex_wake_all(view::retire(present_.memory.data()));
        serial_ = present_.writer ? present_.writer->serial() + 1 : serial_ + 1;
    }
    if (mark_ != nullptr) {
        mark_->forget();
    }
    present_ = Made();
    (void)::unlink(path_.c_str());
}
