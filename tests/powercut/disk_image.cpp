#include "powercut/disk_image.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/wait_until.h"

namespace powercut {

namespace {

void add_entry(const std::string &path, DiskImage *image) {
    struct stat found = {};
    if (::lstat(path.c_str(), &found) != 0) {
        return;
    }
    const auto number = static_cast<uint64_t>(found.st_ino);
    if (S_ISDIR(found.st_mode)) {
        image->names[path] = {true, 0};
    } else if (S_ISREG(found.st_mode)) {
        image->names[path] = {false, number};
        image->contents[number] = file_text(path);
    }
}

/* Leaves the folder itself, on which a file system may be mounted. */
void empty(const std::string &folder) {
    if (!std::filesystem::exists(folder)) {
        return;
    }
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::filesystem::remove_all(entry);
    }
}

}  // namespace

DiskImage read_disk(const std::vector<std::string> &folders) {
    DiskImage image;
    for (const std::string &folder : folders) {
        if (!std::filesystem::exists(folder)) {
            continue;
        }
        add_entry(folder, &image);
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
            add_entry(entry.path(), &image);
        }
    }
    return image;
}

void write_disk(const std::vector<std::string> &folders, const DiskImage &image) {
    for (const std::string &folder : folders) {
        empty(folder);
        if (image.names.count(folder) == 0) {
            std::filesystem::remove(folder);
        }
    }
    for (const auto &[path, entry] : image.names) {
        if (entry.is_folder) {
            std::filesystem::create_directories(path);
        } else if (std::filesystem::exists(folder_of(path))) {
            (void)write_text(path, image.contents.at(entry.file));
        }
    }
}

std::string folder_of(const std::string &path) {
    return path.substr(0, path.rfind('/'));
}

}  // namespace powercut
