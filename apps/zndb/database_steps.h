/*
 * What the parts of the database share: its lock, checks of texts, and the names of the stores.
 */
#pragma once

#include <string_view>

#include "apps_err.h"
#include "formats/journal_record.h"
#include "os_thread.h"

/* Holds the database's mutex in a scope. */
class Lock {
  public:
    explicit Lock(os_mutex *mutex) : mutex_(mutex) { os_mutex_lock(mutex_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
    ~Lock() { os_mutex_unlock(mutex_); }

  private:
    os_mutex *const mutex_;
};

/* Checks that a line can contain both. Returns 0, or E_APPS_ERR_ZNDB_ARG, which is logged. */
apps_err_e_type check_texts(std::string_view key, std::string_view value);

/* The store's name for the log. */
const char *name_of(StoreId id);
