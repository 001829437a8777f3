/*
 * Applies any number of changes as one, and controls what awaits confirmation, by requests to the database.
 */
#pragma once

#include <vector>

#include "cli/request_outcome.h"
#include "formats/zndb_apply_wire.h"
#include "formats/zndb_item.h"

struct ApplyOutcome {
    RequestOutcome request;
    ApplyAnswer answer; /* zero if the request was not answered */
};

/*
 * Makes all changes if all expectations hold, or changes nothing.
 *
 * items: any number; of several changes of a key the last one counts. seconds: until they are reverted unless
 * they are confirmed; 0: they stay. An older database gives E_APPS_ERR_UNSUPPORTED.
 */
ApplyOutcome apply_items(const std::vector<ZndbItem> &items, uint32_t seconds);

/* Sends a request that needs nothing else. */
ApplyOutcome control_apply(ApplyAction action, uint32_t seconds = 0);
