/*
 * Client of the configuration database, the module zndb: text values under text keys.
 *
 * Every call is one request to that module and keeps no state. The calls may be made from any thread; each
 * waits for the answer, as frwk_ipc_send_sync with a limit of 3 seconds does.
 */
#ifndef QUOR_ZNDB_H
#define QUOR_ZNDB_H

#include <stdint.h>

#include "apps_err.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

#define ZNDB_KEY_LEN 32     /* bytes of the longest key, its NUL included */
#define ZNDB_VALUE_LEN 1024 /* bytes of the longest value, its NUL included */

/* Results of the calls. */
typedef enum zndb_ret_e_type {
    E_ZNDB_RET_SUCCESS = 0,
    E_ZNDB_RET_FAILURE = 1,   /* a null argument, or the database refused */
    E_ZNDB_RET_IPC = 2,       /* the database could not be asked */
    E_ZNDB_RET_NOT_FOUND = 3, /* no such key: get and delete only */
    E_ZNDB_RET_KEY_LEN = 4,   /* the key has 32 or more characters */
    E_ZNDB_RET_VALUE_LEN = 5  /* set: 1024 or more characters; get: the value doesn't fit the buffer */
} zndb_ret_e_type;

/*
 * Sets a value in the plain store. It survives a crash of the database at once, a power cut once saved.
 * Before a reboot or shutdown the database saves by itself what is unsaved.
 *
 * key: 1 to 31 characters without CR, LF and '=', the first neither '#', blank nor tab.
 * value: up to 1023 characters without CR and LF.
 * The database refuses other texts with E_ZNDB_RET_FAILURE; nothing has changed then.
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

/* Deletes a key of the plain store; its default, if any, shows again. Kept as a set value is. */
int zndb_del(const char *key);

/* Deletes a key of the perm store. */
int zndb_del_perm(const char *key);

/*
 * Makes what was changed in the plain and the perm store so far survive a power cut.
 *
 * The result is that of the plain store, or of the perm store where that alone was changed. A perm store that
 * could not be saved beside the plain one is a line in the database's log, at each save until it can be.
 *
 * The database then also shortens what it keeps of it in RAM, which takes some room there where anything else
 * is unsaved, such as a factory value. Without that room it has not become shorter, though this call
 * succeeds, and the next changes may still be refused.
 */
int zndb_save(void);

/*
 * Shortens what the database keeps in RAM of the changes that are not saved. They survive its crash before
 * and after, and no power cut. Fails, and changes nothing, where RAM has no room for the shorter form beside
 * the present one.
 */
int zndb_save_ram(void);

/*
 * Empties the plain store, so that the defaults show again. Kept as a set value is. Fails with
 * E_ZNDB_RET_FAILURE, and changes nothing, where the store's file can't be replaced, such as on a read-only
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
