/*
 * Client of the configuration database, the module zndb: text values under text keys.
 *
 * Every call sends one request to that module and keeps no state. It returns a zndb_ret_e_type. Any thread
 * may call; each call waits for the answer as frwk_ipc_send_sync does, with a limit of 3 seconds.
 */
#ifndef QUOR_ZNDB_H
#define QUOR_ZNDB_H

#include <stdint.h>

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define ZNDB_KEY_LEN 32     /* bytes of the longest key, including the NUL */
#define ZNDB_VALUE_LEN 1024 /* bytes of the longest value, including the NUL */

/* Results of the calls. */
typedef enum zndb_ret_e_type {
    E_ZNDB_RET_SUCCESS = 0,
    E_ZNDB_RET_FAILURE = 1,   /* a null argument, or the database refused */
    E_ZNDB_RET_IPC = 2,       /* the request to the database failed */
    E_ZNDB_RET_NOT_FOUND = 3, /* no such key: get and delete only */
    E_ZNDB_RET_KEY_LEN = 4,   /* the key has 32 or more characters */
    E_ZNDB_RET_VALUE_LEN = 5  /* set: 1024 or more characters; get: the value doesn't fit the buffer */
} zndb_ret_e_type;

/*
 * Sets a value in the plain store. It survives a crash of the database at once, but a power cut only after a
 * save. Before a reboot or shutdown the database saves unsaved changes by itself.
 *
 * key: 1 to 31 characters without CR, LF and '='; the first is neither '#', blank nor tab.
 * value: up to 1023 characters without CR and LF.
 *
 * The database refuses other texts with E_ZNDB_RET_FAILURE and changes nothing.
 */
int zndb_set(const char *key, const char *value);

/* Sets a value in the perm store; as zndb_set. */
int zndb_set_perm_data(const char *key, const char *value);

/*
 * Reads a value of the plain store, or its default.
 *
 * value: receives the NUL-terminated text; undefined on failure. size: its bytes, the NUL included.
 */
int zndb_get(const char *key, char *value, uint32_t size);

/* Reads a value of the perm store; as zndb_get, without defaults. */
int zndb_get_perm(const char *key, char *value, uint32_t size);

/* Reads a default; as zndb_get. */
int zndb_get_def(const char *key, char *value, uint32_t size);

/* Deletes a key of the plain store; its default, if any, applies again. As durable as zndb_set. */
int zndb_del(const char *key);

/* Deletes a key of the perm store. */
int zndb_del_perm(const char *key);

/*
 * Saves the changes of the plain and the perm store to their files, so that they survive a power cut.
 *
 * The result is that of the plain store, or that of the perm store if only the perm store had changed. If
 * both had changed and only the perm store fails, each save logs that in the database.
 *
 * The database then also shortens its journal in RAM. If anything else is unsaved, such as a factory value,
 * that needs space for a second journal. Without that space the call still succeeds, but the journal keeps
 * its size, and the next changes may still be refused.
 */
int zndb_save(void);

/*
 * Shortens the journal of unsaved changes, which the database keeps in RAM. The changes still survive a crash
 * of the database, but not a power cut. Fails, and changes nothing, if RAM has no space for a second journal.
 */
int zndb_save_ram(void);

/*
 * Empties the plain store, so that the defaults apply again. As durable as zndb_set. Fails with
 * E_ZNDB_RET_FAILURE, and changes nothing, if the store's file can't be replaced, for example on a read-only
 * flash.
 */
int zndb_reset(void);

/*
 * Translates a result of these calls: 0 to E_APPS_ERR_SUCCESS, 2 to E_APPS_ERR_BUSY, 3 to
 * E_APPS_ERR_NOTFOUND, 4 and 5 to E_APPS_ERR_OUTOFBUF, anything else to E_APPS_ERR_FAILURE.
 */
apps_err_e_type frwk_zndb_error_convert(int code);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
