#include "zndb_tool/journal_text.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "device/access_words.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "internal/planted.h"
#include "support/unique_fd.h"

namespace {

std::string cant_read(const std::string &path, int error) {
    return failure_text("can't read " + path, path, error);
}

bool is_missing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

bool is_the_databases(const struct stat &found) {
    struct stat above = {};
    return is_trusted_owner(found.st_uid) ||
           (::stat(paths::kTempFolder, &above) == 0 && found.st_uid == above.st_uid);
}

/* The owner, if the database can't have created the file; otherwise "". */
std::string stranger(const std::string &path, const struct stat &found) {
    return is_the_databases(found) ? ""
                                   : path + " is not the database's: it belongs to user " +
                                         std::to_string(found.st_uid) + " and is not read";
}

/* The problem with an open file or folder. */
std::string problem_of(int fd, const std::string &path) {
    struct stat found = {};
    return ::fstat(fd, &found) == 0 ? stranger(path, found) : cant_read(path, errno);
}

/* Whether the journal is a link that the device itself created. */
bool is_own_link(int folder, const char *name) {
    struct stat found = {};
    return ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(found.st_mode) &&
           is_the_databases(found);
}

/* Does not block if the file is a pipe. */
std::string read_in(int folder, const std::string &path, std::string *text) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const bool follows = is_own_link(folder, name.c_str());
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (follows ? 0 : O_NOFOLLOW);
    const UniqueFd file(::openat(folder, name.c_str(), flags));
    if (!file) {
        return is_missing(errno) ? "" : cant_read(path, errno);
    }
    const std::string problem = follows ? "" : problem_of(file.get(), path);
    return problem.empty() ? read_open_file(file.get(), path, text) : problem;
}

}  // namespace

std::string read_journal_text(const char *path, std::string *text) {
    text->clear();
    const UniqueFd folder(::open(paths::kJournalFolder, O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return is_missing(errno) ? "" : cant_read(path, errno);
    }
    std::string problem = problem_of(folder.get(), paths::kJournalFolder);
    return problem.empty() ? read_in(folder.get(), path, text) : problem;
}
