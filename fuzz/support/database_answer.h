/*
 * What the database answers: a target that wraps frwk_ipc_send_sync plays the module zndb to its client.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/* The answer to every get: as many of these bytes as the client's buffer takes, the rest of it zero. */
void answer_gets_with(std::string_view bytes);

/* Called with every key and value that is set, as the client sent them. */
void on_set(std::function<void(std::string_view key, std::string_view value)> seen);

/* How many requests so far would have changed the database. */
size_t database_changes();
