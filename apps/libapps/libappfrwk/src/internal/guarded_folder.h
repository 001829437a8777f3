/*
 * The device's working folders: made with rights of their own, whatever the umask, and closed to users that
 * could put something of theirs in the place of a file.
 */
#pragma once

/*
 * Makes a folder with the shell's mkdir when it is missing, and syncs the file systems then. See
 * close_folder.
 *
 * path: absolute.
 */
void make_guarded_folder(const char *path);

/* The same for a folder in /tmp/m_tmp, which is made before it where it is missing. */
void make_guarded_temp_folder(const char *path);

/*
 * Takes the right to write from everybody but the owner, if that is this process's user; a symbolic link is
 * left alone.
 *
 * made: the folder is new, and gets the mode 0755 whatever the umask.
 */
void close_folder(const char *path, bool made);

/* Closes /tmp/m_tmp, and sets aside what others have put in the place of its folders while it was open. */
void close_temp_folder();

/* Closes all working folders, and warns of each that others can write all the same. */
void watch_working_folders();
