/*
 * Reads the database's journal from tmpfs.
 */
#pragma once

#include <string>

/*
 * Reads the journal; "" if it does not exist. Like the database, it ignores files of other users: journal and
 * folder must belong to root, to the caller, or to the owner of /tmp/m_tmp, which is the database's user.
 *
 * Returns "" or the problem.
 */
std::string read_journal_text(std::string *text);
