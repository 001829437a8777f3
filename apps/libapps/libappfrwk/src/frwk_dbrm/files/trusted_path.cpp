#include "frwk_dbrm/files/trusted_path.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kLinksMax = 40; /* the kernel's limit */
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

/* A file, folder or link that is held with O_PATH. */
struct Entry {
    UniqueFd fd;
    struct stat info = {};
};

bool look_at(int folder, const char *name, Entry *entry) {
    entry->fd.reset(::openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    return entry->fd && ::fstat(entry->fd.get(), &entry->info) == 0;
}

bool is_trusted(uid_t owner) {
    return owner == 0 || owner == ::geteuid();
}

/* Whether no other user can create, rename or remove entries of a folder. The group's permissions include
 * those of an access list. */
bool is_closed(const struct stat &folder) {
    return is_trusted(folder.st_uid) && (folder.st_mode & kOthersWrite) == 0;
}

/* Whether no other user can rename or remove the caller's entries of a folder. */
bool keeps_ours(const struct stat &folder) {
    return is_closed(folder) || (is_trusted(folder.st_uid) && (folder.st_mode & S_ISVTX) != 0);
}

/* Whether no other user can replace an entry. In a sticky folder the entry's owner can. */
bool is_steady(const struct stat &folder, const struct stat &entry) {
    return is_closed(folder) || (keeps_ours(folder) && is_trusted(entry.st_uid));
}

bool is_same(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/* Whether no other user can rename the working folder, or one above it. */
bool working_folder_is_steady() {
    Entry folder;
    if (!look_at(AT_FDCWD, ".", &folder)) {
        return false;
    }
    for (;;) {
        Entry parent;
        if (!look_at(folder.fd.get(), "..", &parent)) {
            return false;
        }
        if (is_same(parent.info, folder.info)) {
            return true;
        }
        if (!is_steady(parent.info, folder.info)) {
            return false;
        }
        folder = std::move(parent);
    }
}

/* Walks along a path, component by component. */
class Walk {
  public:
    /* Opens the folder in which the path begins. */
    bool begin(const char *path) {
        if (*path == '\0') {
            errno = ENOENT;
            return false;
        }
        if (!set_rest(path, "")) {
            return false;
        }
        is_closed_ = *path == '/' || working_folder_is_steady();
        return look_at(AT_FDCWD, *path == '/' ? "/" : ".", &folder_);
    }

    /* Continues to the last component. */
    bool run(LastLink last) {
        for (;;) {
            if (!take_part()) {
                return false;
            }
            if (*rest_ == '\0') {
                keeps_ours_ = is_closed_ && keeps_ours(folder_.info);
                is_closed_ = is_closed_ && is_closed(folder_.info);
                if (last == LastLink::kKeep || !is_closed_ || !is_a_link()) {
                    return true;
                }
                is_behind_a_link_ = true;
            }
            if (!enter()) {
                return false;
            }
        }
    }

    void tell(Place *place) {
        place->folder = std::move(folder_.fd);
        std::memcpy(place->name, part_, sizeof(part_));
        place->is_closed = is_closed_;
        place->keeps_ours = keeps_ours_;
        place->is_behind_a_link = is_behind_a_link_;
    }

  private:
    bool set_rest(const char *first, const char *second) {
        char rest[PATH_MAX];
        const int length = std::snprintf(rest, sizeof(rest), "%s%s", first, second);
        if (length < 0 || static_cast<size_t>(length) >= sizeof(rest)) {
            errno = ENAMETOOLONG;
            return false;
        }
        std::memcpy(rest_, rest, sizeof(rest));
        return true;
    }

    /* Takes the next component from the rest. */
    bool take_part() {
        const char *begin = rest_ + std::strspn(rest_, "/");
        const size_t length = std::strcspn(begin, "/");
        if (length == 0 || length >= sizeof(part_)) {
            errno = length == 0 ? EISDIR : ENAMETOOLONG;
            return false;
        }
        std::memcpy(part_, begin, length);
        part_[length] = '\0';
        return set_rest(begin + length, "");
    }

    bool is_a_link() {
        Entry entry;
        return look_at(folder_.fd.get(), part_, &entry) && S_ISLNK(entry.info.st_mode);
    }

    /* Enters the folder that the component names, or its link's target. */
    bool enter() {
        Entry next;
        if (!look_at(folder_.fd.get(), part_, &next)) {
            return false;
        }
        is_closed_ = is_closed_ && is_steady(folder_.info, next.info);
        if (S_ISLNK(next.info.st_mode)) {
            return follow(next);
        }
        if (!S_ISDIR(next.info.st_mode)) {
            errno = ENOTDIR;
            return false;
        }
        folder_ = std::move(next);
        return true;
    }

    bool follow(const Entry &link) {
        if (!is_closed_ || ++links_ > kLinksMax) {
            errno = ELOOP;
            return false;
        }
        char target[PATH_MAX];
        const ssize_t length = ::readlinkat(link.fd.get(), "", target, sizeof(target) - 1);
        if (length < 0) {
            return false;
        }
        target[length] = '\0';
        if (!set_rest(target, rest_)) {
            return false;
        }
        return *target != '/' || look_at(AT_FDCWD, "/", &folder_);
    }

    char rest_[PATH_MAX] = ""; /* begins with a slash, unless it is empty or the path is relative */
    char part_[NAME_MAX + 1] = "";
    Entry folder_;
    int links_ = 0;
    bool is_closed_ = false;
    bool keeps_ours_ = false;
    bool is_behind_a_link_ = false;
};

}  // namespace

bool find_place(const char *path, LastLink last, Place *place) {
    Walk walk;
    if (!walk.begin(path) || !walk.run(last)) {
        return false;
    }
    walk.tell(place);
    return true;
}
