#include "device/lock_table.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "formats/device_paths.h"

namespace {

/* "1: POSIX  ADVISORY  WRITE 812 00:2a:56 0 EOF"; the row of a process that waits for a lock has an arrow
 * after the number. */
struct Row {
    std::string number, kind, way, type, file;
    pid_t process = 0;
};

Row row_of(const std::string &line) {
    Row row;
    std::istringstream(line) >> row.number >> row.kind >> row.way >> row.type >> row.process >> row.file;
    return row;
}

/* The name of a file in the table. */
std::string name_of(const struct stat &info) {
    char name[64];
    (void)std::snprintf(name, sizeof(name), "%02x:%02x:%" PRIuMAX, ::major(info.st_dev), ::minor(info.st_dev),
                        static_cast<uintmax_t>(info.st_ino));
    return name;
}

}  // namespace

pid_t holder_in_table(const std::string &table, const std::string &file) {
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        const Row row = row_of(line);
        if (row.kind == "POSIX" && row.type == "WRITE" && row.file == file && row.process > 0) {
            return row.process;
        }
    }
    return 0;
}

pid_t listed_lock_holder(const std::string &path) {
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0) {
        return 0;
    }
    std::ifstream file(paths::kLockTable);
    return holder_in_table(std::string(std::istreambuf_iterator<char>(file), {}), name_of(info));
}
