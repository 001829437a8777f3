/*
 * Checks a new backup before it is encrypted: reads it as a restore would. One thread at a time.
 */
#pragma once

namespace backup {

/*
 * Warns if a restore would stop within the database's text, at the beginning of the body, and lose the lines
 * after that. Also logs a body that can't be read. Never fails the backup.
 *
 * path: the finished body.
 */
void check_body(const char *path);

}  // namespace backup
