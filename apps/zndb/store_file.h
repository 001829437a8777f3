/*
 * The file of a store: lines of key=value in order of the keys. Lines that begin with '#' and empty lines
 * mean nothing, and are gone once the file is rewritten. One thread at a time.
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
 * Loads a file into a store. What can't be read is reported and passed over; the store has the rest. No file
 * is an empty one.
 */
LoadedFile load_store(const std::string &path, Store &store);

/* What became of a save. */
struct SavedFile {
    int error;     /* 0 when the new file survives a power cut, or an errno value after a log line */
    bool in_place; /* the file is the new one, perhaps until a power cut only */
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
 * Replaces a file by what the store holds, so that it survives a power cut, and is the old one or the new
 * one at every moment. Missing folders are made. Where the old file is to be kept and can't be, it stays.
 */
SavedFile save_store(const std::string &path, const Store &store, Folders folders, OldFile old_file);
