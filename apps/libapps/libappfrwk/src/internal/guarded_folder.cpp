/*
 * The working folders: creates them, checks who may write to them, and closes them.
 */
#include "internal/guarded_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "formats/device_paths.h"
#include "internal/frwk_log.h"
#include "internal/planted.h"
#include "internal/shell.h"
#include "os_file.h"
#include "support/folder_list.h"
#include "support/unique_fd.h"

namespace {

constexpr size_t kPathSize = 256;
constexpr mode_t kRights = 07777;
constexpr mode_t kAccess = 0777;
constexpr mode_t kNewFolder = 0755;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

/* Folders that the library creates if they are missing. */
constexpr const char *kOwnFolders[] = {paths::kTempFolder,        paths::kLockFolder,
                                       paths::kIpcFolder,         paths::kSubscribeFolder,
                                       paths::kSubscribeFolderEx, paths::kTraceMaskFolder};

/* Those of them that may be of an earlier run, and are made again where they are missing. */
constexpr const char *kKeptFolders[] = {paths::kSubscribeFolder, paths::kSubscribeFolderEx,
                                        paths::kTraceMaskFolder};

/* Folders of the device's image, and of the database. Modules trust the files in them. */
constexpr const char *kImageFolders[] = {paths::kDataFolder,
                                         paths::kUserFolder,
                                         paths::kUserDatabaseFolder,
                                         paths::kPermanentFolder,
                                         paths::kPermanentDatabaseFolder,
                                         paths::kFactoryFolder,
                                         paths::kImageFolder,
                                         paths::kImageUserFolder,
                                         paths::kImageDatabaseFolder,
                                         paths::kJournalFolder};

bool is_open(const char *path) {
    struct stat found = {};
    return ::stat(path, &found) == 0 && (found.st_mode & kOthersWrite) != 0;
}

bool lets_all_replace(const struct stat &folder) {
    return (folder.st_mode & S_IWOTH) != 0 && (folder.st_mode & S_ISVTX) == 0;
}

RightsAbove rights_in(const struct stat &folder) {
    if (!is_trusted_owner(folder.st_uid) || lets_all_replace(folder)) {
        return RightsAbove::kReplace;
    }
    return (folder.st_mode & kOthersWrite) != 0 ? RightsAbove::kAdd : RightsAbove::kNone;
}

/* The owner of "/" is whoever owns the device, which in a container may be a user without a number. */
template <typename Look>
void look_above(const char *path, Look look) {
    for (const char *end = std::strchr(path + 1, '/'); end != nullptr; end = std::strchr(end + 1, '/')) {
        char folder[kPathSize];
        (void)std::snprintf(folder, sizeof(folder), "%.*s", static_cast<int>(end - path), path);
        struct stat found = {};
        if (::stat(folder, &found) == 0) {
            look(found);
        }
    }
}

void warn_of_others(const char *path) {
    struct stat found = {};
    if (::stat(path, &found) != 0) {
        return;
    }
    if ((found.st_mode & kOthersWrite) != 0 || !is_trusted_owner(found.st_uid)) {
        FRWK_WARN(__func__, "others can write the working folder %s: owner %u, mode %04o", path, found.st_uid,
                  found.st_mode & kRights);
    }
}

/*
 * While /tmp/m_tmp was open, other users could rename the module's own files and folders in it: removes what
 * can't be used from a folder's place and from the folder.
 *
 * type: that of the folder's entries.
 */
void undo_renames(const char *folder, mode_t type) {
    (void)set_aside_misplaced(folder, S_IFDIR);
    FolderList entries(folder);
    while (const char *name = entries.next()) {
        char path[kPathSize];
        (void)std::snprintf(path, sizeof(path), "%s/%s", folder, name);
        const bool is_entry = name[0] != '.'; /* nothing of ours begins with it */
        (void)(is_entry && set_aside_misplaced(path, type));
    }
}

}  // namespace

void close_folder(const char *path, bool made) {
    const UniqueFd fd(::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat found = {};
    if (!fd || ::fstat(fd.get(), &found) != 0 || found.st_uid != ::geteuid()) {
        return;
    }

    const mode_t present = found.st_mode & kRights;
    const mode_t wanted = made ? (present & ~kAccess) | kNewFolder : present & ~kOthersWrite;
    if (wanted == present) {
        return;
    }
    if (::fchmod(fd.get(), wanted) != 0) {
        FRWK_WARN_ERRNO(__func__, "close working folder error!");
    } else if (!made) {
        FRWK_WARN(__func__, "others could write the working folder %s, mode %04o: now it is %04o", path,
                  present, wanted);
    }
}

void make_guarded_folder(const char *path) {
    const bool made = os_file_exist(path) == 0;
    if (made) {
        shell_on_path("mkdir -p", path);
    }
    close_folder(path, made);
}

/* With an open umask, the shell's mkdir would leave /tmp/m_tmp writable for everybody for a moment. */
void make_guarded_temp_folder(const char *path) {
    if (os_file_exist(paths::kTempFolder) == 0 && ::mkdir(paths::kTempFolder, kNewFolder) == 0) {
        close_folder(paths::kTempFolder, true);
    }
    make_guarded_folder(path);
}

void close_temp_folder() {
    const bool was_open = is_open(paths::kTempFolder);
    if (was_open) {
        close_folder(paths::kTempFolder, false);
    }
    // What somebody planted while it was open is still theirs after it was closed.
    for (const char *folder : {paths::kLockFolder, paths::kIpcFolder}) {
        (void)set_aside_planted(folder, FolderOwner::kTrusted);
    }
    if (was_open && !is_open(paths::kTempFolder)) {
        undo_renames(paths::kLockFolder, S_IFREG);
        undo_renames(paths::kIpcFolder, S_IFSOCK);
    }
}

void watch_working_folders() {
    for (const char *folder : kKeptFolders) {
        if (set_aside_planted(folder, FolderOwner::kTrusted)) {
            make_guarded_folder(folder);
        }
    }
    for (const char *folder : kOwnFolders) {
        if (is_open(folder)) {
            close_folder(folder, false);
        }
        warn_of_others(folder);
    }
    for (const char *folder : kImageFolders) {
        warn_of_others(folder);
    }
}

RightsAbove rights_above(const char *path) {
    RightsAbove most = RightsAbove::kNone;
    look_above(path, [&most](const struct stat &folder) { most = std::max(most, rights_in(folder)); });
    return most;
}

bool all_can_replace(const char *path) {
    bool replaceable = false;
    look_above(path, [&replaceable](const struct stat &folder) {
        replaceable = replaceable || lets_all_replace(folder);
    });
    return replaceable;
}
