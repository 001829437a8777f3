/*
 * The requests that the database service answers, each on the stores and under the circumstances in which it
 * makes other calls.
 */
#pragma once

#include <vector>

#include "faults/zndb/zndb_request.h"

namespace faults {

/* Sets, deletes, resets. */
std::vector<ZndbRequest> zndb_changes();

std::vector<ZndbRequest> zndb_saves();

/* Of the factory overlay, of all files and of the journal. */
std::vector<ZndbRequest> zndb_other_saves();

/* Which make no call when the journal is open. */
std::vector<ZndbRequest> zndb_readings();

/* One with a journal that could not be opened at the start. */
ZndbRequest zndb_late_reading();

}  // namespace faults
