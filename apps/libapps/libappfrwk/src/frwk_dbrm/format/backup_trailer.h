/*
 * The trailer of a backup, which binds the backup to a product and contains the body's digest. It is appended
 * to a finished body, and checked and cut off before the body is used. One thread at a time for one file.
 */
#pragma once

#include <cstdint>

#include "apps_err.h"

namespace backup {

/*
 * Reads the magic of this product's backups.
 *
 * magic: receives it; unchanged on failure.
 * Returns false if the database has no product name, which is logged.
 */
bool read_magic(uint32_t *magic);

/*
 * Appends the trailer to a body.
 *
 * Returns E_APPS_ERR_SUCCESS; INTERNAL without magic or digest; IO if the file can't be opened for appending;
 * FORMAT for a body of 4 GiB or more; WRITE if its length can't be determined or the trailer can't be
 * written. Logs failures.
 */
apps_err_e_type append_trailer(const char *path);

/*
 * Checks the trailer of a decrypted file and cuts it off, so that only the body is left.
 *
 * Returns E_APPS_ERR_SUCCESS; IO if the file can't be opened or truncated; READ if it can't be read; FORMAT
 * if it is too short, of another product, of another length or altered; INTERNAL without magic or digest.
 * Logs failures; the trailer may be cut off even after a failure.
 */
apps_err_e_type strip_trailer(const char *path);

}  // namespace backup
