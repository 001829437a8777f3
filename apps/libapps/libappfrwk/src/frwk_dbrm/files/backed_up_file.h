/*
 * The files that a backup reads and a restore writes, opened by name. If another user can change a folder of
 * the path, no link of that user is followed, and no file is used that may also have a name elsewhere: so the
 * owner of a folder can't make root read or write a file that this user can't access. A folder of root's that
 * others can write to is not covered.
 *
 * All functions leave the cause of a failure in errno. Any thread.
 */
#pragma once

#include "support/unique_fd.h"

namespace backed_up_file {

/* Which file may be read where another user can change the folder. */
enum class Source {
    kOfFolderOwner, /* one that the folder's owner may read: that user may have moved any file there */
    kOfAnybody      /* also root's: the settings, which a database that runs as root writes */
};

/*
 * Opens a file for reading. Fails with ELOOP for another user's link; with EPERM, where another user can
 * change the folder, for a file that has a second name or that is no such source.
 */
UniqueFile open_source(const char *path, Source source);

/*
 * Opens a file for reading and writing, and truncates it. An existing file keeps its mode; a new one gets
 * 0600, since it may contain secrets.
 *
 * If another user can change the folder, anything but that folder's own file is replaced by a new file, which
 * belongs to the folder's owner if the caller is root: the modules that run as this user need it.
 */
UniqueFd open_target(const char *path);

/* Gives a new, empty folder to the owner of the folder that contains it, if the caller is root. A failure is
 * ignored. */
void give_new_folder_away(const char *path);

/* Removes a file. A failure is ignored. */
void remove_target(const char *path);

/* Whether another user's link is on the path. */
bool is_behind_strange_link(const char *path);

}  // namespace backed_up_file
