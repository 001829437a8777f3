/*
 * Requests to the configuration database, by store. They return the database's result code, which is more
 * precise than the results of the client library.
 */
#pragma once

#include <string>

#include "cli/request_outcome.h"
#include "formats/journal_record.h"

/* kDefault: the defaults with the factory overlay; writes go to the overlay. */
enum class Store {
    kPlain,
    kPerm,
    kDefault
};

/* The store that can change: of the defaults, the overlay. */
StoreId changeable(Store store);

/* key: at most 31 characters. value: at most 1023. */
RequestOutcome set_in_store(Store store, const std::string &key, const std::string &value);

/* value: set on success. A get from the plain store falls back to the default. */
RequestOutcome get_from_store(Store store, const std::string &key, std::string *value);

/* store: not kDefault, which has no such message. */
RequestOutcome delete_from_store(Store store, const std::string &key);

/* The outcome of a save of the plain and the perm store. */
struct SaveOutcome {
    RequestOutcome request; /* also success if only the perm store failed, unless only that had changes */
    apps_err_e_type plain;
    apps_err_e_type perm;
};

/* Saves the plain and the perm store. */
SaveOutcome save_both_stores();

/* The same for the overlay. */
RequestOutcome save_overlay();

/* Shortens the database's journal of unsaved changes. */
RequestOutcome save_in_ram();

/* Empties the plain store. */
RequestOutcome reset_store();
