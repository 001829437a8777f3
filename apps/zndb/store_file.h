/*
 * The file of a store: lines of key=value sorted by key. Lines that begin with '#' and empty lines are
 * ignored, and lost when the file is rewritten. One thread at a time.
 */
#pragma once

#include <string>

#include "store.h"

/* The result of loading a file. */
struct LoadedFile {
    int error;    /* 0, or an errno value if it could not be read to its end */
    bool damaged; /* lines were skipped */
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

struct SaveOptions {
    /*
     * An earlier save of the path has succeeded. Otherwise existing folders may be new and not synced yet, so
     * the save syncs them too.
     */
    bool folders_are_safe = false;
    /* The old file is damaged and must be kept. */
    bool keep_old = false;
};

/*
 * Replaces a file by the content of the store, atomically and durably. Creates missing folders. Fails, and
 * changes nothing, if the old file must be kept and can't be.
 */
SavedFile save_store(const std::string &path, const Store &store, const SaveOptions &options = {});
