/*
 * Maps the view. A map is one of a few that are never freed: a thread that uses one counts itself first, and
 * then checks that the map is still the present one. Only maps that are not the present one, and that nobody
 * uses, are unmapped.
 */
#include "mapped_view.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <mutex>
#include <new>

#include "formats/device_paths.h"
#include "internal/frwk_log.h"
#include "internal/planted.h"
#include "support/held_over_forks.h"
#include "support/mapped_file.h"
#include "support/unique_fd.h"

namespace zndb_view {

struct Map {
    std::atomic<uint32_t> users;
    void *data; /* null: free; protected by the lock, as the rest while nobody uses it */
    size_t size;
    dev_t device;
    ino_t number;
    alignas(view::Reader) unsigned char reader[sizeof(view::Reader)];
};

namespace {

/* As many old views can be in use, each by a thread that has not noticed yet, before the service is asked. */
constexpr size_t kMaps = 8;

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr off_t kSizeMax = INT32_MAX;

struct State {
    std::mutex mutex; /* protects changes; nothing is logged while it is held */
    ino_t refused;    /* the last file that was not trusted, which is logged once */
};

State g_s_state;
Map g_s_maps[kMaps];
std::atomic<Map *> g_s_present{nullptr};

/* The other threads of the parent, which used maps, don't exist in the child. */
void forget_users() {
    for (Map &map : g_s_maps) {
        map.users = 0;
    }
    unlock_after_fork<g_s_state>();
}

__attribute__((constructor)) void forget_users_in_children() {
    hold_over_forks<g_s_state>(forget_users);
}

const view::Reader &reader_of(const Map &map) {
    return *std::launder(reinterpret_cast<const view::Reader *>(map.reader));
}

/* Somebody else's file, or one that others may write, is not the service's. */
bool is_trusted(const struct stat &found) {
    return (found.st_mode & kOthersWrite) == 0 &&
           !is_planted(paths::kViewFile, found, FolderOwner::kTrustedWithParent);
}

/* Opens the view. Nothing is logged; found: receives what it is. */
UniqueFd open_view(struct stat &found) {
    UniqueFd fd(::open(paths::kViewFile, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (fd && (::fstat(fd.get(), &found) != 0 || !S_ISREG(found.st_mode))) {
        fd.reset();
    }
    return fd;
}

/* Maps the view. Returns false if it can't be used. */
bool map_view(int fd, const struct stat &found, Map &map) {
    MappedFile memory;
    if (found.st_size <= 0 || found.st_size > kSizeMax ||
        !memory.map(fd, static_cast<size_t>(found.st_size), PROT_READ)) {
        return false;
    }
    const std::optional<view::Block> block = view::Block::open(memory.data(), memory.size());
    if (!block || !view::Reader(*block).is_fresh()) {
        return false;
    }
    new (map.reader) view::Reader(*block);
    map.device = found.st_dev;
    map.number = found.st_ino;
    map.size = memory.size();
    map.data = memory.take();
    return true;
}

/* Unmaps what nobody uses any more. Returns a free map, or null. */
Map *free_map() {
    Map *unused = nullptr;
    for (Map &map : g_s_maps) {
        if (&map == g_s_present.load() || map.users.load() != 0) {
            continue;
        }
        if (map.data != nullptr) {
            MappedFile::unmap(map.data, map.size);
            map.data = nullptr;
        }
        unused = &map;
    }
    return unused;
}

bool is_owner_gone(const Map &map) {
    return (reader_of(map).owner() & FUTEX_OWNER_DIED) != 0;
}

/* Whether the file still has its name, though its service has ended. */
bool has_its_name(const Map &map) {
    struct stat found = {};
    return ::lstat(paths::kViewFile, &found) == 0 && found.st_dev == map.device && found.st_ino == map.number;
}

bool is_usable(const Map &map) {
    return reader_of(map).is_fresh() && (!is_owner_gone(map) || has_its_name(map));
}

/* Counts the caller as a user of the present map. Returns null without a present map. */
Map *use_present() {
    for (;;) {
        Map *map = g_s_present.load();
        if (map == nullptr) {
            return nullptr;
        }
        map->users.fetch_add(1);
        if (g_s_present.load() == map) {
            return map;
        }
        map->users.fetch_sub(1);
    }
}

void warn_of_refused(const struct stat &found) {
    FRWK_WARN(__func__, "%s is not the service's (owner %u, mode %04o): it is not read", paths::kViewFile,
              found.st_uid, found.st_mode & 07777);
}

/* Maps the present file instead of a map that can't be used any more, unless another thread has done so. */
void renew(const Map *unusable) {
    struct stat found = {};
    {
        const std::lock_guard<std::mutex> lock(g_s_state.mutex);
        if (g_s_present.load() != unusable) {
            return;
        }
        g_s_present = nullptr;
        const UniqueFd fd = open_view(found);
        if (!fd) {
            return;
        }
        if (is_trusted(found)) {
            Map *map = free_map();
            g_s_present = map != nullptr && map_view(fd.get(), found, *map) ? map : nullptr;
            return;
        }
        if (std::exchange(g_s_state.refused, found.st_ino) == found.st_ino) {
            return;
        }
    }
    warn_of_refused(found);
}

}  // namespace

Pinned::~Pinned() {
    if (map_ != nullptr) {
        map_->users.fetch_sub(1);
    }
}

const view::Reader &Pinned::reader() const {
    return reader_of(*map_);
}

Pinned pin() {
    for (bool renewed = false;; renewed = true) {
        Pinned pinned(use_present());
        if (pinned && is_usable(*pinned.map_)) {
            return pinned;
        }
        if (renewed) {
            return Pinned();
        }
        renew(pinned.map_);
    }
}

}  // namespace zndb_view
