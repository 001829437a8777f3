/*
 * The operations of a run, all of them drawn from its seed.
 */
#pragma once

#include <cstdint>
#include <vector>

#include "model/operation.h"

namespace model {

inline constexpr uint32_t kClients = 3;

std::vector<Operation> plan_of(uint64_t seed);

/* What the image brings. */
Values default_values();

}  // namespace model
