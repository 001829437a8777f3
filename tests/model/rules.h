/*
 * The rule of each operation: in which ways it may end, from a given state.
 */
#pragma once

#include <vector>

#include "model/operation.h"
#include "model/reference_model.h"

namespace model {

std::vector<Possible> possible_ends(const Operation &operation, const State &state, const Outcome &outcome);

}  // namespace model
