/*
 * The device's working folders. They are created with a fixed mode, whatever the umask, and closed to other
 * users, who could otherwise replace files in them.
 */
#pragma once

/*
 * Creates a missing folder with the shell's mkdir, and syncs the file systems. Calls close_folder.
 *
 * path: absolute.
 */
void make_guarded_folder(const char *path);

/* The same for a folder in /tmp/m_tmp; creates /tmp/m_tmp first if it is missing. */
void make_guarded_temp_folder(const char *path);

/*
 * Removes the write permission of everybody except the owner, if the folder belongs to this process's user.
 * Ignores symbolic links.
 *
 * made: true for a new folder, which gets the mode 0755 whatever the umask.
 */
void close_folder(const char *path, bool made);

/*
 * Closes /tmp/m_tmp, and renames whatever other users have put in the place of its folders. If it was open,
 * also renames whatever is of the wrong type there or in them, whoever it belongs to.
 */
void close_temp_folder();

/*
 * Closes all working folders, and warns of each one that other users can still write to. Replaces the folders
 * of subscriptions and of the trace mask that other users have made.
 */
void watch_working_folders();

/* What a user who is neither this process's nor root can do with a file, by the folders above it. */
enum class RightsAbove {
    kNone,
    kAdd,    /* put something in its place while it is missing */
    kReplace /* rename it, and put something else in its place */
};

/* The group of a folder is trusted not to replace files. */
RightsAbove rights_above(const char *path);

/* Whether all users can replace a file of this process's user: a folder above it is open and not sticky. */
bool all_can_replace(const char *path);
