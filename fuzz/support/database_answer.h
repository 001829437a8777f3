/*
 * A simulated database: a target that wraps frwk_ipc_send_sync plays the module zndb.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/* Sets the answer to every get: these bytes, truncated or padded with zeros to the client's buffer. */
void answer_gets_with(std::string_view bytes);

/* Called with every key and value that is set, as the client sent them. */
void on_set(std::function<void(std::string_view key, std::string_view value)> seen);

/* The number of requests that would have changed the database. */
size_t database_changes();
