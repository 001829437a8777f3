/*
 * Restores one data record of a backup: a file to its path, the lines of a database text to the database. The
 * content is trusted, since only a device with the key can have written it. One thread at a time.
 */
#pragma once

#include <cstdio>

#include "apps_err.h"
#include "frwk_dbrm/format/backup_format.h"

namespace backup {

/*
 * Restores a file. An empty record removes it.
 *
 * backup: positioned after the record's header. record: with a NUL-terminated name.
 * Returns E_APPS_ERR_SUCCESS; IO if the file can't be created; READ or WRITE if the copy fails midway, and
 * then the file is removed. Logs failures.
 */
apps_err_e_type restore_file(std::FILE *backup, const backup_format::RecordHeader &record);

/*
 * Sets every key of a database text and saves the database. A malformed line ends the text.
 *
 * backup, record: as above.
 * Returns E_APPS_ERR_SUCCESS; MALLOC without memory for the text; READ if it is shorter than the record's
 * length; PROCESS if the database refuses a key or the save, and the keys set before stay. Logs failures.
 */
apps_err_e_type restore_database(std::FILE *backup, const backup_format::RecordHeader &record);

/*
 * Restores a record of any type. A type that is unknown and a name without a NUL are malformed.
 *
 * record: its name is terminated.
 * Returns what the type's function above returns, or FORMAT. Logs failures.
 */
apps_err_e_type restore_record(std::FILE *backup, backup_format::RecordHeader *record);

}  // namespace backup
