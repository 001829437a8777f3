/*
 * A shorter run that breaks a promise too.
 */
#pragma once

#include <functional>
#include <vector>

#include "model/operation.h"

namespace model {

using Breaks = std::function<bool(const std::vector<Operation> &operations)>;

/* Leaves out operations as long as the rest still breaks a promise; runs at most so many. */
std::vector<Operation> shrink(std::vector<Operation> operations, const Breaks &breaks, size_t runs);

}  // namespace model
