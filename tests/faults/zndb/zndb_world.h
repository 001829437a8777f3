/*
 * The database service in the test's own process: its files, and what it answers.
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
 * Every kind of file and line: each of the stores has a file, and a key that is answered for out of the
 * journal alone. Saving the plain store takes more than one write.
 */
Files all_files();

/* The plain store's long values, in order of their keys, as lines. */
std::string long_lines();

/* Makes these the only files in the service's folders; folders of no file are missing. */
void put_files(const Files &files);

/* The text of a file; "(none)" when it is missing. */
std::string text_of(const std::string &path);

/* What writers that were killed leave beside each of the files that are replaced. */
Files leftovers();

/* What is there of that kind. */
Files unfinished_files();

/* How many damaged files are kept beside their successors; their names hold the time. */
size_t kept_files();
void remove_kept_files();

/* Sends a message to the service as its module would; the value is for the messages that carry one. */
long send(Database &database, apps_message_id_e_type msgid, const std::string &key = "",
          const std::string &value = "");

/* The service's answers for every key of these tests. */
Answers answers_of(Database &database);

/* The same after a crash of the service, by way of a second one. Half-written files stay as they are. */
Answers answers_after_crash();

/* The same for a service that finds these files. They are put anew, since a start makes the journal. */
Answers answers_of_files(const Files &files);

}  // namespace faults
