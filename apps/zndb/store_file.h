/*
 * The file of a store: lines of key=value sorted by key, and the check line. Comments and empty lines are
 * ignored, and lost when the file is rewritten, but for what services have written: a line of a newer one is
 * carried along. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "file_check.h"
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
 * Loads a file into a store. Malformed lines are reported and skipped; of a sound file they are carried
 * along. A missing file counts as empty. check: that of the file; one that is damaged is
 * loaded all the same, as far as it can be read.
 */
LoadedFile read_store_file(const std::string &path, const FileCheck &check, Store &store);

/* Logs that a file could not be read. */
void report_unreadable(const std::string &path, int error);

/* The same for a file that is checked, and logged if it can't be read. */
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
    kBecomesPrevious,
    kIsKept, /* beside the new one, as lines of it were skipped */
    kWasKept /* it is damaged, and was set aside when it was read */
};

/* The content of a file that has what the store has, its check line included. generation: that of the file.
 */
std::string text_of_store(const Store &store, uint64_t generation);

/*
 * Replaces a file by a text of text_of_store, atomically and durably. Creates missing folders. Fails, and
 * changes nothing, if the old file must be kept and can't be. On a full disk the previous file makes room.
 */
SavedFile save_store(const std::string &path, std::string_view text, Folders folders, OldFile old_file);

/*
 * Tries whether a store could be saved empty, and then, if the old file is kept, with the values of a text of
 * text_of_store: does all that these
 * saves would do, except to replace the file, and leaves nothing. On a full disk it gives the previous file
 * up, as the saves would do. Returns 0 or an errno value; logs nothing else.
 */
int rehearse_emptying(const std::string &path, std::string_view text, Folders folders, OldFile old_file);
