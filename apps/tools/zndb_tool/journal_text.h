/*
 * Reads a journal of the database from tmpfs.
 */
#pragma once

#include <string>

/*
 * Reads the journal with this path; "" if it does not exist. Like the database, it ignores files of other
 * users: journal and folder must belong to root, to the caller, or to the owner of /tmp/m_tmp, which is the
 * database's user.
 *
 * Returns "" or the problem.
 */
std::string read_journal_text(const char *path, std::string *text);
