/*
 * The file of a store: lines of key=value sorted by key. Lines that begin with '#' and empty lines are
 * ignored, and lost when the file is rewritten. One thread at a time.
 */
#pragma once

#include <string>

#include "store.h"

enum class Lines {
    kAllTaken,
    kSomeSkipped
};

/* What was read of a file. */
struct LoadedFile {
    int error; /* 0, or an errno value when it could not be read to its end */
    Lines lines;
};

/*
 * Loads a file into a store. Malformed lines are reported and skipped. A missing file counts as empty.
 */
LoadedFile load_store(const std::string &path, Store &store);

/* The result of a save. */
struct SavedFile {
    int error;     /* 0 if the new file survives a power cut, else an errno value, which is logged */
    bool in_place; /* the file was replaced, but may not survive a power cut */
};

/* The names of the folders above a file that are there already. */
enum class Folders {
    kPerhapsNew, /* they may not be on the disk yet: a save syncs them too */
    kOnDisk      /* an earlier save of the file has succeeded */
};

/* What happens to the old file. */
enum class OldFile {
    kGoes,
    kIsKept /* beside the new one, as it is damaged */
};

/*
 * Replaces a file by the content of the store, atomically and durably. Creates missing folders. Fails, and
 * changes nothing, if the old file must be kept and can't be.
 */
SavedFile save_store(const std::string &path, const Store &store, Folders folders, OldFile old_file);

/*
 * Tries whether the store could be saved empty, and then with its present values again: does all that these
 * saves would do, except to replace the file, and leaves nothing. Returns 0 or an errno value; logs nothing.
 */
int rehearse_emptying(const std::string &path, const Store &store, Folders folders, OldFile old_file);
