/*
 * The device's user configuration as one file: written on one device, brought back on another of its kind.
 *
 * A backup holds the database's user data as it was last saved, the data manager's database, and the web
 * accounts when the key "webs_backup_account" is "true". It is enciphered as cipher.h tells and bound to the
 * key "device_product_name"; docs/backup-format.md has its bytes.
 *
 * Both calls work on the calling thread, ask the module zndb, and tell no other module: whoever calls them
 * reboots the device or the modules concerned. There is no lock: one caller at a time.
 */
#ifndef QUOR_FRWK_DBRM_H
#define QUOR_FRWK_DBRM_H

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Both calls may be given a path on which another user, who is neither the caller nor root, can change
 * something: in whose folder the file lies, or who may write to it or to a folder on the way. What is in the
 * clear then lies in a private folder in "/tmp/m_tmp", or in "/m_data/usr" where the former has no room for
 * the backup twice, and no link of such a user is followed. docs/backup-format.md has the details.
 */

/*
 * Writes a backup. It grows in a file beside its target, PATH.unfinished, and takes the target's name when it
 * is whole: after a crash there is never a part of one under that name, and the next call to the same target
 * clears up. When the call has succeeded the backup outlasts a power cut. Changes of the configuration that
 * are not saved yet (zndb_save) are not in it. Where the saved settings have a damaged line, at which a
 * restore would stop, a warning names it.
 *
 * path: where to; what was there is replaced, by a file that only its owner can read. Its last part has at
 * most 244 characters, so that there is room for ".unfinished". Null gives E_APPS_ERR_PARAM.
 * Returns E_APPS_ERR_SUCCESS, or, with nothing left at path:
 *   E_APPS_ERR_IO        path is empty or too long or can't be created, leads by another user's link, or
 * there is no private folder to be had; or a source can't be opened E_APPS_ERR_READ      a source became
 * shorter while it was read, or can't be read E_APPS_ERR_WRITE     the disk is full, or fails
 *   E_APPS_ERR_FORMAT    a source, or all of them together, have 4 GiB or more
 *   E_APPS_ERR_INTERNAL  the product's name, the digest or the cipher's key is not to be had, or the disk is
 *                        full while the backup is being enciphered
 */
apps_err_e_type frwk_dbrm_backup(const char *path);

/*
 * Brings a backup back: empties the user configuration and applies every record of the backup.
 *
 * Until the backup has been deciphered and checked nothing on the device changes. From then on there is no
 * way back: after a failure the configuration is empty, or has the records applied so far. When the call has
 * returned, what it brought back outlasts a power cut.
 *
 * path: the backup, which is consumed: deciphered in place, and removed as soon as records have been looked
 * at, whatever came of them. A symbolic link is followed: the file that it leads to is deciphered, and both
 * are removed. A file that was refused before stays: as it came where it could not be deciphered, otherwise
 * in the clear, for its owner's eyes only, and no use for another restore, so that the caller does well to
 * remove it, not merely a link to it, and to keep the backup elsewhere. Where another user has a say, a copy
 * is deciphered in the file's stead, which stays as it came until it is removed. Null gives E_APPS_ERR_PARAM.
 *
 * Returns E_APPS_ERR_SUCCESS, or
 *   E_APPS_ERR_INTERNAL  it can't be found or can't be deciphered: altered, cut, extended, of a device with
 *                        another key; or it can't be copied to a private folder where it has to be; or the
 * product's name or the digest is not to be had, or the database refuses to be emptied E_APPS_ERR_FORMAT it
 * is of another product, or wrong inside E_APPS_ERR_IO        it can't be opened or cut, or a file to bring
 * back can't be created E_APPS_ERR_READ      it can't be read, or a record is shorter than it says
 *   E_APPS_ERR_WRITE     the disk is full, or fails; the file that didn't fit is gone
 *   E_APPS_ERR_MALLOC    no memory for a database's text
 *   E_APPS_ERR_PROCESS   the database refuses a key or to save
 */
apps_err_e_type frwk_dbrm_restore(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
