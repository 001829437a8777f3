/*
 * Converts messages to calls of the database, and results to answers. Does not access files.
 */
#pragma once

#include <cstdint>

#include "apps_err.h"
#include "apps_message.h"
#include "database.h"

/* A message as a module's request handler receives it. */
struct ZndbMessage {
    uint32_t src;
    apps_message_id_e_type msgid;
    const void *data; /* null if data_len is 0 or less */
    int32_t data_len;
    void *rsp; /* null for an asynchronous message */
    uint32_t rsp_size;

    /* Whether it may change the factory overlay; asked if it would, and logs a refusal. Null: it may. */
    bool (*may_write_factory)(const ZndbMessage &message) = nullptr;
};

/*
 * Answers one message. Any thread. Logs refusals that the database doesn't log.
 *
 * Returns the database's result, E_APPS_ERR_ZNDB_ARG for a malformed body, E_APPS_ERR_ZNDB_READ_ONLY for a
 * change of the factory overlay by somebody who may not, or E_APPS_ERR_UNSUPPORTED for an unknown message.
 * The answer's buffer is written by a successful get, by a list and a batch, and by a save: with the results
 * of the plain and the perm store, if it has room for both.
 */
apps_err_e_type zndb_handle(Database &database, const ZndbMessage &message);

/* The first change of the factory overlay that the message may not make, or kNoItem. Logs a refusal. */
uint32_t refused_factory_change(ZndbItemSpan items, const ZndbMessage &message);
