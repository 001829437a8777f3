/*
 * The rule of a storm: requests of all clients at the same time, each to keys of its own.
 */
#pragma once

#include <vector>

#include "model/operation.h"
#include "model/reference_model.h"

namespace model {

/* The words are the results of the items that were carried out; an item after one without an answer is not.
 */
std::vector<Possible> end_of_storm(const Operation &operation, const State &state, const Outcome &outcome);

}  // namespace model
