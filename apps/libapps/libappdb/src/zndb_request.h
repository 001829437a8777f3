/*
 * The requests to the configuration database, one function for each kind of body. Each logs its failures
 * with its function name and returns a zndb_ret_e_type. No state: any thread.
 */
#pragma once

#include <cstdint>

#include "apps_message.h"
#include "internal/log_name.h"

/* Sends a key and a value. */
int zndb_set_value(apps_message_id_e_type msg, const char *key, const char *value);

/*
 * Sends a key and receives its value. buf: receives the NUL-terminated text; undefined on failure.
 * size: size of buf in bytes; the database checks it.
 */
int zndb_get_value(apps_message_id_e_type msg, const char *key, char *buf, uint32_t size);

/* Sends a key. */
int zndb_del_value(apps_message_id_e_type msg, const char *key);

/* Sends a message without a body. */
int zndb_save_value(apps_message_id_e_type msg);

/* The same for a call that logs with another function name. */
int zndb_request_without_body(LogName caller, apps_message_id_e_type msg);
