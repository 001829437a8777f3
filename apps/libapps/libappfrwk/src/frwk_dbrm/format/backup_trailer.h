/*
 * The end of a backup that binds it to a product and proves its body whole: written behind a finished body,
 * checked and cut off before a body is trusted. One thread at a time for one file.
 */
#pragma once

#include <cstdint>

#include "apps_err.h"

/*
 * Tells the number that backups of this product carry.
 *
 * magic: receives it; unchanged on failure.
 * Returns 1, or 0 when the database can't tell the product's name, which has been logged.
 */
int32_t frwk_dbrm_get_magic(uint32_t *magic);

/*
 * Appends the trailer to a file that holds a body.
 *
 * Returns E_APPS_ERR_SUCCESS; INTERNAL without magic or digest; IO when the file can't be opened to append;
 * FORMAT for a body of 4 GiB or more; WRITE when its length can't be told or the trailer not be written.
 * Failures have been logged.
 */
apps_err_e_type frwk_dbrm_pack(const char *path);

/*
 * Checks the trailer of a deciphered file and cuts it off, so that the file holds the body only.
 *
 * Returns E_APPS_ERR_SUCCESS; IO when the file can't be opened or cut; READ when it can't be read; FORMAT
 * when it is too short, of another product, of another length or altered; INTERNAL without magic or digest.
 * Failures have been logged; the file may have lost its trailer then.
 */
apps_err_e_type frwk_dbrm_unpack(const char *path);
