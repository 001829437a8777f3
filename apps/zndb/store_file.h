/*
 * The file of a store: lines of key=value in order of the keys. Lines that begin with '#' and empty lines
 * mean nothing, and are gone once the file is rewritten. One thread at a time.
 */
#pragma once

#include <string>

#include "store.h"

/* What was read of a file. */
struct LoadedFile {
    int error;    /* 0, or an errno value when it could not be read to its end */
    bool damaged; /* lines of it were skipped */
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

struct SaveOptions {
    /*
     * An earlier save of the path has succeeded. Otherwise folders that are there already may be new ones,
     * whose names are not on the disk yet, and they are synced too.
     */
    bool folders_are_safe = false;
    /* The old file is damaged, and is kept beside the new one. */
    bool keep_old = false;
};

/*
 * Replaces a file by what the store holds, so that it survives a power cut, and is the old one or the new
 * one at every moment. Missing folders are made. Where the old file is to be kept and can't be, it stays.
 */
SavedFile save_store(const std::string &path, const Store &store, const SaveOptions &options = {});
