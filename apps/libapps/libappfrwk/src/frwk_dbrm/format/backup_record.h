/*
 * Writes a file as a data record of a backup. One thread at a time for one backup.
 */
#pragma once

#include <cstdint>
#include <cstdio>

#include "apps_err.h"

namespace backup {

/*
 * Appends a record with a file's content. A missing file, and one that is not regular, becomes an empty
 * record.
 *
 * out: the backup. path: 1 to 127 characters. type: FRWK_DBRM_DATA_*.
 * Returns E_APPS_ERR_SUCCESS; PARAM for a path of another length, FORMAT for a file of 4 GiB or more, and
 * then nothing was written; IO if the file can't be opened; READ if it became shorter; WRITE if the backup
 * can't be written. Logs failures.
 */
apps_err_e_type append_record(std::FILE *out, const char *path, uint32_t type);

}  // namespace backup
