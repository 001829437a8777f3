/*
 * The requests to the configuration database, one function for each kind of body. Each logs its failures
 * and returns a zndb_ret_e_type. No state: any thread.
 */
#pragma once

#include <cstdint>

#include "apps_message.h"
#include "internal/log_name.h"

namespace zndb_client {

/* Sends a key and a value. */
int set_value(apps_message_id_e_type msg, const char *key, const char *value);

/*
 * Sends a key and receives its value. buf: receives the NUL-terminated text; undefined on failure.
 * size: size of buf in bytes; the database checks it.
 */
int get_value(apps_message_id_e_type msg, const char *key, char *buf, uint32_t size);

/* Sends a key. */
int delete_value(apps_message_id_e_type msg, const char *key);

/* Sends a message without a body. caller: the function that the log names. */
int send_message(LogName caller, apps_message_id_e_type msg);

}  // namespace zndb_client
