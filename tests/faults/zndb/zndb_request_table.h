/*
 * The requests to the database service, each for all stores and conditions that lead to different calls.
 */
#pragma once

#include <vector>

#include "faults/zndb/zndb_request.h"

namespace faults {

/* Sets, deletes, resets. */
std::vector<ZndbRequest> zndb_changes();

std::vector<ZndbRequest> zndb_saves();

/* Saves of the factory overlay, of all files and of the journal. */
std::vector<ZndbRequest> zndb_other_saves();

/* Requests that make no call if the journal is open. */
std::vector<ZndbRequest> zndb_readings();

/* A request with a journal that could not be opened at the start. */
ZndbRequest zndb_late_reading();

}  // namespace faults
