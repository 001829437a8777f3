/*
 * Lists a store by a request to the database.
 */
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "cli/request_outcome.h"
#include "formats/zndb_list_wire.h"

struct ListedSetting {
    std::string key;
    std::string value;
    bool deleted; /* in a list of unsaved changes */
};

struct StoreListing {
    bool emptied = false; /* unsaved changes: the store was reset before them */
    std::vector<ListedSetting> settings = {};
};

/*
 * Lists the settings whose keys begin with a prefix of at most 31 characters, in the order of the keys'
 * bytes. All are of one moment.
 *
 * listing: set on success. The result is E_APPS_ERR_FORMAT for an answer that can't be read.
 */
RequestOutcome list_store(StoreId store, Listed listed, const std::string &prefix, StoreListing *listing);

/* The same with a limit for each page; after it the outcome is E_APPS_ERR_TIMEOUT, not delivered. */
RequestOutcome list_store_within(std::chrono::milliseconds limit, StoreId store, Listed listed,
                                 const std::string &prefix, StoreListing *listing);

/* Whether the store itself has a key of at most 31 characters. has_key: set on success. */
RequestOutcome look_for_key(StoreId store, const std::string &key, bool *has_key);
