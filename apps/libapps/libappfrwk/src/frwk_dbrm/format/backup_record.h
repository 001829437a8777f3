/*
 * One file as a data record of a backup. One thread at a time for one backup.
 */
#pragma once

#include <cstdint>
#include <cstdio>

#include "apps_err.h"

/*
 * Appends a record with what a file holds; a missing file, or what is no file, as an empty one.
 *
 * out: the backup. path: 1 to 127 characters. type: FRWK_DBRM_DATA_*.
 * Returns E_APPS_ERR_SUCCESS; PARAM for a path of another length, FORMAT for a file of 4 GiB or more: then
 * nothing was written; IO when the file can't be opened; READ when it became shorter; WRITE when the backup
 * takes no more. Failures have been logged.
 */
apps_err_e_type frwk_dbrm_backup_file(std::FILE *out, const char *path, uint32_t type);
