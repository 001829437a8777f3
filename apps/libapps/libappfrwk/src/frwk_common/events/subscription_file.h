/*
 * The file that lists an event's subscribers, a module name a line. Which codes and log lines its failures
 * become is not its business. Callers that change a file hold the subscription lock; readers need none.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/unique_fd.h"

/* Where an event's subscribers are listed. */
class SubscriptionFile {
  public:
    /* event: the key; a path that grows too long is cut. */
    explicit SubscriptionFile(const char *event);

    const char *path() const { return path_; }

    /* Whether nobody subscribed: the file is empty or missing. Not so for a key that names no file. */
    bool is_empty() const { return names_a_file_ && size() == 0; }

    /* Bytes of the file; 0 when it is missing, or the key names no file. */
    uint64_t size() const;

    /*
     * Opens it; nothing owned, and errno set, when that fails. It does for a key that names no file, for a
     * symbolic link, and for a file that another user has put there.
     */
    UniqueFd open(int flags) const;

  private:
    static constexpr size_t kPathSize = 128;

    char path_[kPathSize];
    bool names_a_file_;
};

/*
 * The lines of a subscription file, read a block at a time: a reader without the lock gets any list of
 * ordinary size in one piece.
 */
class SubscriptionLines {
  public:
    explicit SubscriptionLines(const SubscriptionFile &file);

    /* Whether the file could be opened; errno tells why not. */
    explicit operator bool() const { return static_cast<bool>(fd_); }

    /* The next line without its end, valid until the next call; null at the end of the file. */
    const char *next();

    /* 0, or the errno value of what made an end of the file before its time. */
    int error() const { return error_; }

  private:
    static constexpr size_t kBlockSize = 4096;
    static constexpr size_t kLineSize = 64;

    bool fill();

    UniqueFd fd_;
    size_t used_ = 0;
    size_t filled_ = 0;
    bool last_block_ = false;
    int error_ = 0;
    char block_[kBlockSize];
    char line_[kLineSize];
};

enum class Addition {
    kAdded,
    kListed,  /* it was there, so nothing was written */
    kNotAdded /* errno tells why */
};

/* Adds a name at the end of a file, unless a line has it, in whatever letter case. */
Addition add_subscriber(const SubscriptionFile &file, const char *name);

enum class Removal {
    kRemoved,
    kNotListed, /* nothing was written */
    kNoMemory,
    kNotOpened,  /* errno tells why */
    kStartShort, /* what stood before the name was not written whole */
    kEndShort    /* what stood behind its line was not written whole */
};

/*
 * Removes the first occurrence of a name, wherever it stands, with the rest of its line. A file with nothing
 * left is deleted.
 */
Removal remove_subscriber(const SubscriptionFile &file, const char *name);
