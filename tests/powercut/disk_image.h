/*
 * The files of some folders at one moment, as bytes.
 */
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace powercut {

/* The target of a name: a folder, or the file with this number. */
struct Entry {
    bool is_folder;
    uint64_t file;

    bool operator==(const Entry &other) const { return is_folder == other.is_folder && file == other.file; }
};

using Names = std::map<std::string, Entry>;       /* by path, so that a folder comes before what is in it */
using Contents = std::map<uint64_t, std::string>; /* of files, by their number */

struct DiskImage {
    Names names;
    Contents contents;

    bool operator==(const DiskImage &other) const {
        return names == other.names && contents == other.contents;
    }
};

/* The folders as they are, with all that is in them. */
DiskImage read_disk(const std::vector<std::string> &folders);

/* Makes the folders equal to the image. */
void write_disk(const std::vector<std::string> &folders, const DiskImage &image);

/* The folder of a name. */
std::string folder_of(const std::string &path);

}  // namespace powercut
