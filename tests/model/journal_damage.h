/*
 * Damage to a journal while the service does not run, of a kind that no line can be taken for another one.
 */
#pragma once

#include <cstdint>

#include "model/settings_state.h"

namespace model {

/* kind: any number; draws the way and the line. */
void damage(Store store, uint32_t kind);

}  // namespace model
