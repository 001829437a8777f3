/*
 * One data record of a backup brought back: a file at its path, the lines of a database in the database. What
 * a record says is trusted, since only a device with the key can have written it. One thread at a time.
 */
#pragma once

#include <cstdio>

#include "apps_err.h"
#include "frwk_dbrm/format/backup_format.h"

/*
 * Writes a file. An empty record removes it instead.
 *
 * backup: stands behind the record's header. record: with a name that ends.
 * Returns E_APPS_ERR_SUCCESS; IO when the file can't be created, and when that fails halfway READ or WRITE:
 * then the file is gone. Failures have been logged.
 */
apps_err_e_type frwk_dbrm_restore_file(std::FILE *backup, const backup_format::RecordHeader &record);

/*
 * Sets every key of a database text and saves the database. A line that is none ends the text.
 *
 * backup, record: as above.
 * Returns E_APPS_ERR_SUCCESS; MALLOC without memory for the text, READ when it is shorter than the record
 * says, PROCESS when the database refuses: what was set before stays. Failures have been logged.
 */
apps_err_e_type frwk_dbrm_restore_db(std::FILE *backup, const backup_format::RecordHeader &record);
