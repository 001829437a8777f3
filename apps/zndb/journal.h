/*
 * The journal: every change since the files were last written, on tmpfs, so that a crash of the service
 * loses nothing that was answered. Not for power cuts. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "file_steps.h"
#include "formats/journal_record.h"
#include "journal_content.h"

/* A journal of this many bytes or fewer is never overgrown. */
inline constexpr uint64_t kJournalSmall = uint64_t{256} * 1024;

class Journal {
  public:
    using Replay = std::function<void(const JournalRecord &record)>;

    /* Calls its argument with one record after the other; the same ones each time. */
    using Source = std::function<void(const Replay &add)>;

    explicit Journal(std::string path) : path_(std::move(path)) {}

    /*
     * Opens the journal and hands out what it says in the end, store by store; makes it when there is none. A
     * damaged line is reported and passed over; a last line that was cut off was never answered, and goes
     * away. Does nothing once it has succeeded. Returns 0, or an errno value after a log line; then nothing
     * was handed out, since the first records without the last ones would give values that are long gone.
     */
    int open(const Replay &replay);

    /*
     * Adds a record, whole or not at all. Only when open.
     * Returns 0, or an errno value after a log line.
     */
    int append(const JournalRecord &record);

    /*
     * Replaces all records by those of a source, at once or not at all. Only when open.
     * size: of their lines.
     * Returns 0, or an errno value after a log line; then the journal is as before.
     */
    int rewrite(const Source &source, uint64_t size);

    /* Bytes of the records that count. */
    uint64_t size() const { return size_; }

    /* Whether it has grown so much that it is time to look whether a rewrite is worth its cost. */
    bool overgrown() const { return size_ > overgrown_above_; }

    /* Has it grow as much again before the next look: it is not worth its cost, or has failed. */
    void postpone();

  private:
    /* What follows the records that count. */
    enum class Tail {
        kNone,
        kTorn /* perhaps part of a record */
    };

    int read_lines(int fd, JournalContent &content);
    void report_torn_line() const;
    int cut_torn_line();
    int empty();
    int replace(const Source &source);
    int report(const char *what, int error) const;

    const std::string path_;
    UniqueFd fd_;
    uint64_t size_ = 0; /* of the records that count */
    Tail tail_ = Tail::kNone;
    uint64_t overgrown_above_ = kJournalSmall;
};
