/*
 * Reads the kernel's lock table, which shows the holder of a lock even if the user may not open the file.
 */
#pragma once

#include <sys/types.h>

#include <string>

/*
 * The process that holds a write lock; 0 for none.
 * table: the text of /proc/locks. file: the file's name in the table, "MAJOR:MINOR:INODE".
 */
pid_t holder_in_table(const std::string &table, const std::string &file);

/* The same for a path, using the current table. */
pid_t listed_lock_holder(const std::string &path);
