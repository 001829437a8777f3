/*
 * Records what a watcher of the database is told.
 */
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "support/wait_until.h"
#include "zndb_ext.h"

class ChangeRecord {
  public:
    /* "plain key=value", "perm key deleted", "reset" or "resync". */
    static std::string line_of(const zndb_change &change) {
        const std::string key =
            (change.store == ZNDB_STORE_PERM ? "perm " : "plain ") + std::string(change.key);
        switch (change.kind) {
            case ZNDB_CHANGE_SET:
                return key + "=" + change.value;
            case ZNDB_CHANGE_DELETED:
                return key + " deleted" + (change.value != nullptr ? " with a value" : "");
            case ZNDB_CHANGE_RESET:
                return key == "plain " ? "reset" : "reset of " + key;
            default:
                return key == "plain " ? "resync" : "resync of " + key;
        }
    }

    static void add(const zndb_change *change, void *record) {
        auto *self = static_cast<ChangeRecord *>(record);
        const std::lock_guard<std::mutex> lock(self->mutex_);
        self->lines_.push_back(line_of(*change));
    }

    std::vector<std::string> lines() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }

    std::string text() const {
        std::string text;
        for (const std::string &line : lines()) {
            text += line + ",";
        }
        return text;
    }

    size_t count(const std::string &line) const {
        const std::vector<std::string> all = lines();
        return static_cast<size_t>(std::count(all.begin(), all.end(), line));
    }

    /* Waits for a line. Returns whether it came. */
    bool has(const std::string &line) const {
        return wait_until([&] { return count(line) > 0; });
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

/* A watcher that records what it is told. */
class RecordingWatcher : public ChangeRecord {
  public:
    explicit RecordingWatcher(const char *prefix) {
        EXPECT_EQ(0, zndb_watch(prefix, add, static_cast<ChangeRecord *>(this), &watcher_));
    }
    ~RecordingWatcher() { end(); }
    RecordingWatcher(const RecordingWatcher &) = delete;
    RecordingWatcher &operator=(const RecordingWatcher &) = delete;

    void end() {
        if (watcher_ != nullptr) {
            EXPECT_EQ(0, zndb_unwatch(watcher_));
        }
        watcher_ = nullptr;
    }

  private:
    zndb_watcher *watcher_ = nullptr;
};
