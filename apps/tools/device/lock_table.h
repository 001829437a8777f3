/*
 * The kernel's table of locks, which tells who holds the lock of a file that the user may not open.
 */
#pragma once

#include <sys/types.h>

#include <string>

/*
 * The process that holds a record lock for writing; 0 for none.
 * table: the text of /proc/locks. file: as the table names it, "MAJOR:MINOR:INODE".
 */
pid_t holder_in_table(const std::string &table, const std::string &file);

/* The same for a path, as the table is now. */
pid_t listed_lock_holder(const std::string &path);
