/*
 * The settings as a watcher knows them: what it listed first, and what it was told since.
 */
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "model/settings_state.h"
#include "zndb_ext.h"

namespace model {

class ToldValues {
  public:
    /* Begins to watch. */
    explicit ToldValues(std::string prefix);
    ~ToldValues();
    ToldValues(const ToldValues &) = delete;
    ToldValues &operator=(const ToldValues &) = delete;

    /* The values of the plain and the perm store, each in the form of a list. */
    std::vector<std::string> words() const;

  private:
    static void take(const zndb_change *change, void *self);
    void take(const zndb_change &change);
    void list_anew();

    const std::string prefix_;
    mutable std::mutex mutex_;
    Values values_[2];
    zndb_watcher *watcher_ = nullptr;
};

}  // namespace model
