/*
 * An outcome as bytes, on the way from a client to the run.
 */
#pragma once

#include <string>

#include "model/operation.h"

namespace model {

std::string pack(const Outcome &outcome);
Outcome unpack(const std::string &bytes);

}  // namespace model
