/*
 * The journal of a store: every change since its file was last written, on tmpfs, so that a crash of the
 * service loses no answered change. It does not survive a power cut. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "file_steps.h"
#include "formats/journal_record.h"
#include "journal_content.h"

/* A journal of up to this size in bytes is never overgrown. */
inline constexpr uint64_t kJournalSmall = uint64_t{256} * 1024;

class Journal {
  public:
    using Replay = std::function<void(const JournalRecord &record)>;

    /* Calls its argument with each record in turn; the same records in every call. */
    using Source = std::function<void(const Replay &add)>;

    Journal(std::string path, StoreId store) : path_(std::move(path)), store_(store) {}

    /*
     * Opens the journal and passes the last change of each key to replay. Creates a missing
     * journal. Reports and skips damaged lines; removes an incomplete last line, which was never answered.
     * Does nothing after it has succeeded. Returns 0, or an errno value, which is logged; then replay was not
     * called, since the first records without the last ones would give outdated values.
     */
    int open(const Replay &replay);

    /*
     * Appends a record, completely or not at all. Only when open.
     * Returns 0, or an errno value, which is logged.
     */
    int append(const JournalRecord &record) { return append_lines(format_record(record)); }

    /* The same for records of which a part may be left by a kill. lines: those of format_record. */
    int append_lines(const std::string &lines);

    /* Takes the records off again that were appended after the journal had this size. As drop_tail. */
    int cut_back(uint64_t size);

    /*
     * Removes what doesn't count at the end, as every append does before it writes. Returns 0, or an errno
     * value, which is logged.
     */
    int drop_tail();

    /*
     * Atomically replaces all records by those of a source. Only when open.
     * size: total size of their lines in bytes.
     * Returns 0, or an errno value, which is logged; then the journal is unchanged.
     */
    int rewrite(const Source &source, uint64_t size);

    bool is_open() const { return static_cast<bool>(fd_); }

    /* The size of the valid records in bytes. */
    uint64_t size() const { return size_; }

    /* Whether the journal has grown so much that the caller should consider a rewrite. */
    bool overgrown() const { return size_ > overgrown_above_; }

    /* Postpones the next rewrite until the journal has grown as much again: it was not worth it, or failed.
     */
    void postpone();

  private:
    /* What follows the records that count. */
    enum class Tail {
        kNone,
        kTorn /* perhaps part of a record */
    };

    int read_lines(int fd, JournalContent &content);
    int cut_torn_line();
    int empty();
    int replace(const Source &source);
    int report(const char *what, int error) const;

    const std::string path_;
    const StoreId store_;
    UniqueFd fd_;
    uint64_t size_ = 0; /* of the records that count */
    Tail tail_ = Tail::kNone;
    uint64_t overgrown_above_ = kJournalSmall;
};
