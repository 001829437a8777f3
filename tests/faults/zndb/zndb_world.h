/*
 * The database service in the test's process: its files, and its answers.
 */
#pragma once

#include <map>
#include <string>

#include "database.h"
#include "zndb_handler.h"

namespace faults {

/* Paths and texts. */
using Files = std::map<std::string, std::string>;

/* Values by store and key: "plain key", "perm key" and "default key"; "result 2001" for one that is missing.
 */
using Answers = std::map<std::string, std::string>;

/*
 * Every kind of file and line: each store has a file, and a key that is only in the journal. Saving the plain
 * store needs more than one write.
 */
Files all_files();

/* The files with these records in the stores' journals, and no others. */
Files with_journals(Files files, const std::string &lines);

/* Those of all_files where an older service has written one journal for all stores. */
Files with_old_journal();

/* The plain store's long values, in order of their keys, as lines. */
std::string long_lines();

/* Makes these the only files in the service's folders; folders without a file are removed. */
void put_files(const Files &files);

/* The text of a file; "(none)" when it is missing. */
std::string text_of(const std::string &path);

/* The temporary files that killed writers leave. */
Files leftovers();

/* The existing temporary files. */
Files unfinished_files();

/* The number of kept damaged files. */
size_t kept_files();
/* Removes these, and the files before the last save. */
void remove_kept_files();

/* Sends a message to the service as its module would; the value is for the messages that carry one. */
long send(Database &database, apps_message_id_e_type msgid, const std::string &key = "",
          const std::string &value = "");

/* The service's answers for every key of these tests. */
Answers answers_of(Database &database);

/* The same after a crash of the service, using a second one. Half-written files are unchanged. */
Answers answers_after_crash();

/* The same for a service that starts with these files. They are written again, since a start creates the
 * journal. */
Answers answers_of_files(const Files &files);

}  // namespace faults
