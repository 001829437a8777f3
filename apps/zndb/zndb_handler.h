/*
 * From a message's bytes to a call of the database, and back. Knows nothing of files.
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
    const void *data; /* null when data_len is 0 or less */
    int32_t data_len;
    void *rsp; /* null for an asynchronous message */
    uint32_t rsp_size;
};

/*
 * Answers one message. Any thread. Refusals that the database doesn't log are logged here.
 *
 * Returns the database's result, E_APPS_ERR_ZNDB_ARG for a body of the wrong form, or
 * E_APPS_ERR_UNSUPPORTED for a message that isn't the database's. The answer's buffer is written by a get
 * that succeeds, and by a save: with the results of the plain and the perm store, where it has room for both.
 */
apps_err_e_type zndb_handle(Database &database, const ZndbMessage &message);
