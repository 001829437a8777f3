/*
 * The journal: every change since the files were last written, on tmpfs, so that a crash of the service
 * loses nothing that was answered. Not for power cuts. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "file_steps.h"
#include "journal_record.h"

/* A journal of this many bytes or fewer is never overgrown. */
inline constexpr uint64_t kJournalSmall = uint64_t{256} * 1024;

class Journal {
  public:
    using Replay = std::function<void(const JournalRecord &record)>;

    explicit Journal(std::string path) : path_(std::move(path)) {}

    /*
     * Opens the journal and hands out what is in it, in order; makes it when there is none. A damaged line
     * is reported and passed over; a last line that was cut off was never answered, and goes away.
     * Does nothing once it has succeeded. Returns 0, or an errno value after a log line; then nothing was
     * handed out, since the first records without the last ones would give values that are long gone.
     */
    int open(const Replay &replay);

    /*
     * Adds a record, whole or not at all. Only when open.
     * Returns 0, or an errno value after a log line.
     */
    int append(const JournalRecord &record);

    /*
     * Replaces all records by these, at once or not at all. Only when open.
     * Returns 0, or an errno value after a log line; then the journal is as before.
     */
    int rewrite(const std::vector<JournalRecord> &records);

    /* Whether a rewrite is worth its cost; failed ones count too, so that they are not tried every time. */
    bool overgrown() const { return size_ > overgrown_above_; }

  private:
    struct KeptLine {
        std::string text;
        bool fits; /* as that of a Line */
    };

    int read_lines(int fd, std::vector<KeptLine> &lines);
    void hand_out(const std::vector<KeptLine> &lines, const Replay &replay) const;
    int cut_torn_line();
    int empty();
    int replace(const std::vector<JournalRecord> &records);
    int report(const char *what, int error) const;

    const std::string path_;
    OwnedFd fd_;
    uint64_t size_ = 0; /* of the records that count */
    bool torn_ = false; /* part of a record may follow them */
    uint64_t overgrown_above_ = kJournalSmall;
};
