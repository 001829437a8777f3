/*
 * More of the configuration database's client: several changes as one, compare and set, lists of keys,
 * reading without a request, and watching for changes. zndb.h has the ordinary calls.
 *
 * Every call that asks the database sends requests to the module zndb, keeps no state, and waits for each
 * answer as frwk_ipc_send_sync does, with a limit of 3 seconds. It returns a zndb_ret_e_type, or one of the
 * two results below. Any thread may call. A database that is older than these calls refuses them with
 * E_ZNDB_RET_FAILURE.
 */
#ifndef QUOR_ZNDB_EXT_H
#define QUOR_ZNDB_EXT_H

#include "zndb.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The stores that clients write. */
typedef enum zndb_store {
    ZNDB_STORE_PLAIN = 0,  /* of zndb_set */
    ZNDB_STORE_PERM = 1,   /* of zndb_set_perm_data */
    ZNDB_STORE_FACTORY = 2 /* the overlay of the defaults: read by everybody, written by some */
} zndb_store;

/* Results beyond zndb_ret_e_type. */
#define E_ZNDB_RET_CONFLICT 6 /* an expectation did not hold: nothing has changed */
#define E_ZNDB_RET_REFUSED 7  /* no right, or more than the caller's share: nothing has changed */

/* ---- batches ---- */

/*
 * A batch is a list of sets, deletes and expectations, which the database carries out as one: all or none of
 * its changes are in the stores, for everybody who reads them and after a crash of the database. Of a save
 * that a power cut interrupts, each store's file has all changes of the batch to this store, or none.
 *
 * A batch belongs to its caller. One thread at a time may use a batch; different batches are independent.
 */

#define ZNDB_BATCH_MAX 64 /* sets, deletes and expectations of a batch together */

/* A batch, made by zndb_batch_new. */
typedef struct zndb_batch zndb_batch;

/* Makes an empty batch. Returns it, or null without memory. The caller frees it with zndb_batch_free. */
zndb_batch *zndb_batch_new(void);

/*
 * Adds a set to a batch; nothing is sent. If the batch has several changes of a key, the last one counts.
 *
 * store: where to set. key, value: as for zndb_set; copied.
 *
 * Returns 0; E_ZNDB_RET_FAILURE for a null argument, an unknown store, or without memory; E_ZNDB_RET_KEY_LEN
 * for a key of 32 or more characters; E_ZNDB_RET_VALUE_LEN for a value of 1024 or more characters, or if the
 * batch is full. After a failure the batch is unchanged.
 */
int zndb_batch_set(zndb_batch *batch, zndb_store store, const char *key, const char *value);

/* Adds a delete to a batch; returns as zndb_batch_set. Deleting a key that is missing is no failure. */
int zndb_batch_delete(zndb_batch *batch, zndb_store store, const char *key);

/*
 * Adds an expectation to a batch: the batch is carried out only if all its expectations hold before its first
 * change. It is compared with the store's own value: defaults don't count.
 *
 * value: the expected value, copied; null if the key must be missing.
 *
 * Returns as zndb_batch_set.
 */
int zndb_batch_expect(zndb_batch *batch, zndb_store store, const char *key, const char *value);

/*
 * Carries out a batch with one request. Its changes are as durable as those of zndb_set. An empty batch
 * succeeds without a request.
 *
 * Returns 0, and the batch is empty then. Otherwise the batch is unchanged, and may be sent again or freed:
 * E_ZNDB_RET_FAILURE for null, or if the database refused one of the changes; E_ZNDB_RET_CONFLICT if an
 * expectation does not hold; E_ZNDB_RET_REFUSED if the caller may not write the factory store, or would have
 * more unsaved changed keys than its share; E_ZNDB_RET_IPC if no answer came. After these results nothing has
 * changed, except after E_ZNDB_RET_IPC: then all changes may have been made, or none.
 */
int zndb_batch_apply(zndb_batch *batch);

/* Frees a batch. Null is allowed. */
void zndb_batch_free(zndb_batch *batch);

/*
 * Sets a value if the key has the expected one; as a batch of one expectation and one set.
 *
 * expected: the store's present value; null if the key must be missing. key, value: as for zndb_set.
 *
 * Returns 0, or the results of zndb_batch_set and zndb_batch_apply: E_ZNDB_RET_CONFLICT if the key has
 * another value.
 */
int zndb_compare_and_set(zndb_store store, const char *key, const char *expected, const char *value);

/* ---- lists ---- */

/*
 * Receives a key of a list and its value. The texts are valid during the call. Returns 0 to go on, anything
 * else to end the list.
 */
typedef int (*zndb_list_handler)(const char *key, const char *value, void *context);

/*
 * Calls a handler for each key of a store that begins with a prefix, in the order of the keys' bytes, with
 * the value that the store itself has: defaults don't count. The handler runs on the caller's thread and may
 * call the database. The keys come in pages: a key that is set or deleted during the list may be left out or
 * not, and the values of different pages may be of different moments.
 *
 * prefix: up to 31 characters; "" for all keys. context: passed to the handler, may be null.
 *
 * Returns 0, also if the handler ended the list or there are no such keys; E_ZNDB_RET_FAILURE for a null
 * prefix or handler, an unknown store, without memory, or if the database refused; E_ZNDB_RET_KEY_LEN for a
 * prefix of 32 or more characters; E_ZNDB_RET_IPC if no answer came. After the last two a part of the keys
 * may have been passed to the handler.
 */
int zndb_list(zndb_store store, const char *prefix, zndb_list_handler handler, void *context);

/* ---- reading without a request ---- */

/*
 * The database keeps all settings in shared memory too, /tmp/m_tmp/zndb/view. These calls read it without a
 * lock, a request or a system call. Without it (an older database, or no right to read the file) they send
 * the request that zndb.h has for it. A change is there when its call has returned, whoever made it.
 */

/*
 * Reads a value of the plain store, or its default.
 *
 * value: receives the NUL-terminated text; undefined on failure. size: its bytes, the NUL included.
 *
 * Returns as zndb_get. While the database is not running, the last values are still read. Any thread may
 * call, and a forked child as well.
 */
int zndb_view_get(const char *key, char *value, uint32_t size);

/* Reads a value of the perm store, without defaults; otherwise as zndb_view_get. */
int zndb_view_get_perm(const char *key, char *value, uint32_t size);

/*
 * Returns a number that grows with every change of any store, also when the database is started anew; 0 if
 * this process can't read the view. As long as it is the same, so is every value. It wraps, without the 0.
 * Any thread may call.
 */
uint32_t zndb_view_serial(void);

/* ---- watching for changes ---- */

/* What has happened to a key, or to a store. */
typedef enum zndb_change_kind {
    ZNDB_CHANGE_SET = 0,
    ZNDB_CHANGE_DELETED = 1,
    ZNDB_CHANGE_RESET = 2, /* the whole plain store was emptied; the key is "" */
    ZNDB_CHANGE_RESYNC = 3 /* changes may have been missed, for example since the database was started anew:
                              read again; the key is "" */
} zndb_change_kind;

/* A change. */
typedef struct zndb_change {
    zndb_store store; /* plain or perm; plain for a reset or resync */
    zndb_change_kind kind;
    const char *key;   /* valid during the call */
    const char *value; /* the value at the time of the call; null unless kind is ZNDB_CHANGE_SET */
} zndb_change;

/* Receives the changes, one at a time. context: that of zndb_watch. */
typedef void (*zndb_watch_handler)(const zndb_change *change, void *context);

/* A watcher, made by zndb_watch. */
typedef struct zndb_watcher zndb_watcher;

/*
 * Calls a handler for each change, after this call, of a key of the plain or the perm store that begins with
 * a prefix. Of several changes of a key in a row at least the last one is told. A reset of the plain store,
 * and a resync, is told to every watcher once; after it no older value of that store is told. Setting a key
 * to the value that it has is no change.
 *
 * The handler runs on a thread of its watcher, with a stack of 256 KiB, so one that takes long holds up no
 * other watcher. It may call the database, this call and zndb_unwatch. A process that can't read the view of
 * the database, see zndb_view_get, is told nothing until it can. Without a database the call succeeds too: a
 * resync tells when it has come. A forked child is told nothing by its parent's watchers.
 *
 * prefix: up to 31 characters, copied; "" for all keys. context: passed to the handler, may be null. watcher:
 * receives the watcher, which the caller ends with zndb_unwatch; unchanged on failure.
 *
 * Returns 0; E_ZNDB_RET_FAILURE for a null prefix, handler or watcher, or without memory or a thread;
 * E_ZNDB_RET_KEY_LEN for a prefix of 32 or more characters. Any thread may call.
 */
int zndb_watch(const char *prefix, zndb_watch_handler handler, void *context, zndb_watcher **watcher);

/*
 * Ends a watcher and frees it. After it has returned, no call of the handler begins. It waits for a call in
 * progress, unless it is made inside of that call.
 *
 * watcher: may not be used any more.
 *
 * Returns 0, or E_ZNDB_RET_FAILURE for null. Any thread may call, once.
 */
int zndb_unwatch(zndb_watcher *watcher);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
