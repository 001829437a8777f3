/*
 * A module's side of a soak: the steps of its main thread, and its handler. See soak_board.h for what is
 * counted.
 */
#pragma once

#include <cstdint>

#include "frwk_common.h"
#include "soak_board.h"

namespace soak {

/* The beginning of every body. fill() generates the bytes after it from start. */
struct Head {
    uint64_t number; /* counts the messages of one kind from a sender to a receiver */
    uint64_t start;
    uint32_t generation; /* of the receiver, as the sender saw it */
    uint32_t size;       /* number of the bytes after it */
};

/* The state of this process. Set before anything else here is called. */
void set_place(Board *board, uint32_t module, uint32_t generation);

/* Takes the memory that the steps need. */
void reserve_memory();

/* Subscribes what listens throughout. */
void subscribe_steady();

/* The next step, or false when the module's quota is done. */
bool take_step();

/* The module's handler; on the service thread, the main thread, and threads of its own. */
apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                       void *rsp, uint32_t rsp_size, uint32_t timeout);

/* A handler's answer and result for a body that begins with start. */
uint64_t answer_start(uint64_t start, uint32_t receiver, uint32_t room);
apps_err_e_type answer_result(uint64_t start);

}  // namespace soak
