/*
 * Keeps damaged files when they are replaced, for a later inspection: PATH.damaged-YYYYMMDD-HHMMSS, with the
 * suffix -2 and so on if the name is taken. One thread at a time.
 */
#pragma once

#include <cstddef>
#include <string>

/* The number of damaged copies of a file; older ones are removed. */
inline constexpr size_t kDamagedFilesKept = 4;

/*
 * Creates a hard link to a file, or a copy if the file system has no hard links.
 *
 * kept: receives the new name; unchanged on failure, and if the file doesn't exist.
 * Returns 0, or an errno value, and then leaves no file.
 */
int keep_damaged(const std::string &path, std::string &kept);

/*
 * The same, but a file that can't be linked nor copied gets the new name itself: it can't be read, or is a
 * folder.
 */
int set_damaged_aside(const std::string &path, std::string &kept);

/*
 * Creates a copy of a file that is on the disk. Returns 0, or an errno value; EEXIST if the name is taken.
 */
int copy_file(const std::string &from, const std::string &to);

/* Creates a hard link to a file, or such a copy. Returns the same. */
int link_or_copy(const std::string &path, const std::string &name);

/* Removes the oldest damaged copies of a file if there are too many, but never the file "kept". */
void forget_old_damaged(const std::string &path, const std::string &kept);
