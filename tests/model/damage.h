/*
 * Damage to a journal or a store's file while the service does not run, of a kind that no line can be taken
 * for another one.
 */
#pragma once

#include <cstdint>
#include <string>

#include "model/settings_state.h"

namespace model {

/* kind: any number; draws the way and the line. */
void damage_journal(Store store, uint32_t kind);

/* The same for the store's file. Returns its text then; "" if there is nothing to damage. */
std::string damage_settings(Store store, uint32_t kind);

/* Whether the file, or one that was set aside, has this text. */
bool is_kept(Store store, const std::string &text);

}  // namespace model
