/*
 * The file of the batch that is being carried out, on tmpfs. It has the whole batch before the journals have
 * its first change, and is empty again once they have its last one. So a service that is killed in between
 * can complete the batch when it starts again. One thread at a time.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "formats/journal_record.h"
#include "support/unique_fd.h"

class BatchFile {
  public:
    explicit BatchFile(std::string path) : path_(std::move(path)) {}

    /*
     * Reads the batch that a killed service left, and passes it to complete, which returns 0 or an errno
     * value. Empties the file if that succeeded. Drops an incomplete batch, which was never answered. Does
     * nothing after it has succeeded.
     *
     * Returns 0, or an errno value, which is logged; then the batch is kept.
     */
    int recover(const std::function<int(const std::vector<JournalRecord> &changes)> &complete);

    /* Writes a batch. Only while empty. Returns 0, or an errno value, which is logged; then it is empty. */
    int write(const std::vector<JournalRecord> &changes);

    /* Empties the file. Returns 0, or an errno value, which is logged. */
    int clear();

    /* Whether a batch is in the file. */
    bool empty() const { return empty_; }

  private:
    int open(int flags);
    int read(std::string &text) const;
    int report(const char *what, int error) const;

    const std::string path_;
    UniqueFd fd_;
    bool recovered_ = false;
    bool empty_ = true;
};
