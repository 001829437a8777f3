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

/* Closes /tmp/m_tmp, and renames whatever other users have put in the place of its folders. */
void close_temp_folder();

/* Closes all working folders, and warns of each one that other users can still write to. */
void watch_working_folders();
