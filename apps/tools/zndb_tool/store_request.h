/*
 * Requests to the configuration database, by store. They carry the database's own result code, which tells
 * more than the client's calls do.
 */
#pragma once

#include <string>

#include "cli/request_outcome.h"

/* kDefault: the defaults with the factory overlay on top; what is written goes to the overlay. */
enum class Store {
    kPlain,
    kPerm,
    kDefault
};

/* key: at most 31 characters. value: at most 1023. */
RequestOutcome set_in_store(Store store, const std::string &key, const std::string &value);

/* value: set when the outcome is done. A plain get falls back to the default. */
RequestOutcome get_from_store(Store store, const std::string &key, std::string *value);

/* store: not the defaults, which have no such message. */
RequestOutcome delete_from_store(Store store, const std::string &key);

/* What became of a save of the plain and the perm store. */
struct SaveOutcome {
    RequestOutcome request; /* done also where the perm store alone failed, unless it alone had changes */
    apps_err_e_type plain;
    apps_err_e_type perm;
};

/* Makes the changes of the plain and the perm store survive a power cut. */
SaveOutcome save_both_stores();

/* The same for the overlay. */
RequestOutcome save_overlay();

/* Shortens what the database keeps in RAM of unsaved changes. */
RequestOutcome save_in_ram();

/* Empties the plain store. */
RequestOutcome reset_store();
