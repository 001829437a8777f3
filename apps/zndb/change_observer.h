/*
 * Whoever shows the database's content somewhere else. The database calls it with its lock held, so an
 * observer must not call the database.
 */
#pragma once

#include "formats/journal_record.h"
#include "store.h"

/* The stores, valid as long as the database; to be read during calls of the observer only. */
struct Contents {
    const Store &plain;
    const Store &perm;
    const Store &factory;
    const Store &defaults;
};

/* Changes that are made as one. */
struct Changes {
    const JournalRecord *first;
    size_t count;

    const JournalRecord *begin() const { return first; }
    const JournalRecord *end() const { return first + count; }
};

class ChangeObserver {
  public:
    ChangeObserver() = default;
    ChangeObserver(const ChangeObserver &) = delete;
    ChangeObserver &operator=(const ChangeObserver &) = delete;
    virtual ~ChangeObserver() = default;

    /* The database's content before the first change. */
    virtual void began(const Contents &contents) = 0;

    /* Changes that the stores already have, before they are answered. */
    virtual void changed(const Changes &changes) = 0;

    /* Frees what the observer takes of the journals' file system, which is full. Returns whether it had any.
     */
    virtual bool free_room() = 0;

    /* Repeats what has failed. Called now and then, also where nothing changes. */
    virtual void retry() = 0;
};
