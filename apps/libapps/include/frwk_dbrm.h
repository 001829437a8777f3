/*
 * Backup and restore of the device's user configuration, as one file for devices of the same kind.
 *
 * A backup contains the database's user data as last saved, the data manager's database, and the web
 * accounts if the key "webs_backup_account" is "true". It is encrypted with cipher.h and bound to the key
 * "device_product_name"; docs/backup-format.md describes its format.
 *
 * Both functions run on the calling thread, send requests to the module zndb, and notify no other module: the
 * caller must reboot the device or restart the modules concerned. They take no lock: one caller at a time.
 */
#ifndef QUOR_FRWK_DBRM_H
#define QUOR_FRWK_DBRM_H

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Another user means anybody except the caller and root. If another user owns, or can write to, the file or a
 * folder above it, both functions keep unencrypted data in a private folder in "/tmp/m_tmp", "/tmp" or
 * "/m_data/usr", the first one that is safe and has space for the backup twice, and follow no link of such a
 * user. They don't follow such links to the files in the backup either. docs/backup-format.md has the
 * details.
 */

/*
 * Writes a backup.
 *
 * The backup is written to PATH.unfinished and renamed to PATH when it is complete: after a crash PATH is
 * never a partial backup, and the next call with the same path removes the leftovers. A backup that succeeded
 * survives a power cut. Unsaved changes of the configuration (zndb_save) are not in it. If the saved settings
 * have a malformed line, at which a restore would stop, a warning names it; another one names the first line
 * that a restore reads differently from the database, because of a CR within it or a blank before its key.
 *
 * path: the target; an existing file is replaced by one that only its owner can read. Its last part may have
 * at most 244 characters, so that there is room for ".unfinished". Null gives E_APPS_ERR_PARAM.
 * Returns E_APPS_ERR_SUCCESS, or, with no file left at path:
 *   E_APPS_ERR_IO        path is empty, too long, can't be created, or contains another user's link; or no
 *                        private folder can be created; or a source can't be opened
 *   E_APPS_ERR_READ      a source became shorter during the copy, or can't be read
 *   E_APPS_ERR_WRITE     the disk is full, or fails
 *   E_APPS_ERR_FORMAT    a source, or all of them together, have 4 GiB or more
 *   E_APPS_ERR_INTERNAL  the product's name, the digest or the cipher's key is not available, or the disk is
 *                        full during the encryption
 */
apps_err_e_type frwk_dbrm_backup(const char *path);

/*
 * Restores a backup: empties the user configuration and applies every record of the backup.
 *
 * Nothing on the device changes until the backup has been decrypted and checked. After that there is no
 * rollback: after a failure the configuration is empty, or has the records applied so far. When the call has
 * returned, everything that it restored survives a power cut.
 *
 * path: the backup, which is consumed. It is decrypted in place, and removed after the first record was read,
 * whatever the result. A symbolic link is followed: its target is decrypted, and both are removed. A file
 * that is refused earlier stays: unchanged if it could not be decrypted, otherwise decrypted, readable for
 * its owner only, and not usable for another restore. The caller should then remove the file itself, not only
 * a link to it, and keep the backup elsewhere. If another user can write there, a copy is decrypted, and the
 * file stays unchanged until it is removed. Null gives E_APPS_ERR_PARAM.
 *
 * Returns E_APPS_ERR_SUCCESS, or
 *   E_APPS_ERR_INTERNAL  the backup is missing, or can't be decrypted: altered, truncated, extended, or
 *                        from a device with another key; or it can't be copied to a private folder; or the
 *                        product's name or the digest is not available; or the database can't be emptied
 *   E_APPS_ERR_FORMAT    it belongs to another product, or its content is malformed
 *   E_APPS_ERR_IO        it can't be opened or truncated, or a restored file can't be created
 *   E_APPS_ERR_READ      it can't be read, or a record is shorter than its length field
 *   E_APPS_ERR_WRITE     the disk is full, or fails; the file that didn't fit was removed
 *   E_APPS_ERR_MALLOC    no memory for a database's text
 *   E_APPS_ERR_PROCESS   the database refuses a key or a save
 *   E_APPS_ERR_NOSPACE   the database's disk, or the memory for its journal, has no space for the settings
 *                        of the backup; nothing has changed
 */
apps_err_e_type frwk_dbrm_restore(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
