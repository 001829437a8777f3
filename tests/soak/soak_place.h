/*
 * The state of a soak module's process. Written before there are threads.
 */
#pragma once

#include "soak_board.h"

namespace soak {

struct Place {
    Board *board = nullptr;
    uint32_t module = 0;
    uint32_t generation = 0; /* of this process */
};

inline Place g_place;

}  // namespace soak
