/*
 * The file that lists an event's subscribers, one module name per line. The caller logs failures and converts
 * them to result codes. Callers that change a file must hold the subscription lock; readers need none.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "formats/subscription_line.h"
#include "support/unique_fd.h"

namespace events {

/* The list of an event's subscribers. */
class SubscriptionFile {
  public:
    /* event: the key; a path that is too long is truncated. */
    explicit SubscriptionFile(const char *event);

    const char *path() const { return path_; }

    /* Whether the file is empty or missing. False for a key that is not a file name. */
    bool is_empty() const { return names_a_file_ && size() == 0; }

    /* The file's size in bytes; 0 if it is missing, or the key is not a file name. */
    uint64_t size() const;

    /*
     * Opens the file; owns nothing, with errno set, on failure. Fails for a key that is not a file name, for
     * a symbolic link, and for a file of another user.
     */
    UniqueFd open(int flags) const;

  private:
    static constexpr size_t kPathSize = 128;

    char path_[kPathSize];
    bool names_a_file_;
};

/*
 * The lines of a subscription file, read in blocks: a list of usual size is read with one call, so a reader
 * without the lock sees it completely.
 */
class SubscriptionLines {
  public:
    explicit SubscriptionLines(const SubscriptionFile &file);

    /* Whether the file could be opened; if not, errno is set. */
    explicit operator bool() const { return static_cast<bool>(fd_); }

    /* The next line without its end, valid until the next call; null at the end of the file. */
    const char *next();

    /* 0, or the errno value of the read error that ended the lines. */
    int error() const { return error_; }

  private:
    static constexpr size_t kBlockSize = 4096;

    bool fill();

    UniqueFd fd_;
    size_t used_ = 0;
    size_t filled_ = 0;
    bool last_block_ = false;
    int error_ = 0;
    char block_[kBlockSize];
    SubscriptionLine line_;
};

enum class Addition {
    kAdded,
    kListed,  /* already in the list: nothing was written */
    kNotAdded /* see errno */
};

/* Appends a name to a file, unless a line already is this name, ignoring case. */
Addition add_subscriber(const SubscriptionFile &file, const char *name);

enum class Removal {
    kRemoved,
    kNotListed, /* nothing was written */
    kNoMemory,
    kNotOpened,  /* see errno */
    kStartShort, /* the text before the name was not written completely */
    kEndShort    /* the text after its line was not written completely */
};

/*
 * Removes the first occurrence of a name, even as part of another name, and the rest of its line. Deletes the
 * file if nothing is left.
 */
Removal remove_subscriber(const SubscriptionFile &file, const char *name);

}  // namespace events
