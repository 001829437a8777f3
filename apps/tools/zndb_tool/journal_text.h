/*
 * The text of the database's journal, as it is on tmpfs.
 */
#pragma once

#include <string>

/*
 * Reads the journal; "" when there is none. What another user has put there is not believed, as the database
 * doesn't believe it: a journal, or its folder, must be root's, the caller's, or of the user who owns
 * /tmp/m_tmp, as whom the database runs.
 *
 * Returns "" or why it can't be read.
 */
std::string read_journal_text(std::string *text);
