#include "damaged_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <tuple>
#include <vector>

#include "file_steps.h"
#include "formats/device_paths.h"
#include "os_log.h"
#include "os_time.h"
#include "support/file_io.h"
#include "support/folder_stream.h"

namespace {

constexpr size_t kStampLength = 15; /* YYYYMMDD-HHMMSS */

/* The maximum number of damaged files with the same time stamp. */
constexpr unsigned kNumbersTried = 100;

/* The local time, as the log's lines have it. */
std::string time_stamp() {
    timeval now = {};
    (void)os_gettimeofday(&now);
    std::tm parts = {};
    (void)localtime_r(&now.tv_sec, &parts);
    char text[kStampLength + 1] = "";
    (void)std::strftime(text, sizeof(text), "%Y%m%d-%H%M%S", &parts);
    return text;
}

/* Whether a text is a time stamp with an optional number. */
bool is_stamp(const std::string &text) {
    return text.size() >= kStampLength && text.find_first_not_of("0123456789-") == std::string::npos;
}

/* The sort key of a name: its time, then its number. */
auto age_of(const std::string &name, size_t stamp) {
    return std::make_tuple(name.substr(stamp, kStampLength), name.size(), name);
}

/* The damaged copies of a file, oldest first. */
std::vector<std::string> damaged_ones(const std::string &path) {
    const size_t slash = path.rfind('/') + 1;
    const std::string prefix = path.substr(slash) + paths::kDamagedMark;
    const UniqueFolderStream folder(::opendir(path.substr(0, slash).c_str()));
    std::vector<std::string> names;
    while (const char *each = next_name(folder)) {
        const std::string name = each;
        if (name.compare(0, prefix.size(), prefix) == 0 && is_stamp(name.substr(prefix.size()))) {
            names.push_back(path.substr(0, slash) + name);
        }
    }
    const size_t stamp = slash + prefix.size();
    std::sort(names.begin(), names.end(), [stamp](const std::string &one, const std::string &other) {
        return age_of(one, stamp) < age_of(other, stamp);
    });
    return names;
}

int link_copy_or_rename(const std::string &path, const std::string &name) {
    const int error = link_or_copy(path, name);
    if (error == 0 || error == ENOENT || error == EEXIST) {
        return error;
    }
    struct stat found = {};
    if (::lstat(name.c_str(), &found) == 0) {
        return EEXIST;
    }
    return ::rename(path.c_str(), name.c_str()) == 0 ? 0 : error;
}

/* Gives the file the first free name by means of keep. */
int keep_with(int (*keep)(const std::string &path, const std::string &name), const std::string &path,
              std::string &kept) {
    const std::string first = path + paths::kDamagedMark + time_stamp();
    int error = EEXIST;
    for (unsigned number = 1; error == EEXIST && number <= kNumbersTried; ++number) {
        const std::string name = number == 1 ? first : first + "-" + std::to_string(number);
        error = keep(path, name);
        if (error == 0) {
            kept = name;
        }
    }
    return error == ENOENT ? 0 : error;
}

}  // namespace

int copy_file(const std::string &from, const std::string &to) {
    UniqueFd source;
    UniqueFd target;
    int error = open_file(from, O_RDONLY, source);
    if (error == 0) {
        error = open_file(to, O_WRONLY | O_CREAT | O_EXCL, target);
    }
    if (error != 0) {
        return error;
    }
    const bool copied =
        file_io::copy_rest(source.get(), target.get()) == file_io::Copied::kAll && ::fsync(target.get()) == 0;
    if (copied) {
        return 0;
    }
    error = errno;
    (void)::unlink(to.c_str());
    return error;
}

int link_or_copy(const std::string &path, const std::string &name) {
    if (::link(path.c_str(), name.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    return error == ENOENT || error == EEXIST ? error : copy_file(path, name);
}

int keep_damaged(const std::string &path, std::string &kept) {
    return keep_with(link_or_copy, path, kept);
}

int set_damaged_aside(const std::string &path, std::string &kept) {
    return keep_with(link_copy_or_rename, path, kept);
}

void forget_old_damaged(const std::string &path, const std::string &kept) {
    std::vector<std::string> names = damaged_ones(path);
    names.erase(std::remove(names.begin(), names.end(), kept), names.end());
    for (size_t i = 0; i + kDamagedFilesKept <= names.size(); ++i) {
        if (::unlink(names[i].c_str()) == 0) {
            OS_LOG(OS_LOG_NOTICE, "%s removed, since there are newer ones", names[i].c_str());
        }
    }
}
