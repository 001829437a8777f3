#include "way_back_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "damaged_file.h"
#include "file_steps.h"
#include "os_log.h"
#include "successor_file.h"
#include "support/file_io.h"

namespace {

/* A text with one byte more than the longest one is not a way back. */
int read_text(int fd, std::string &text) {
    struct stat found = {};
    if (::fstat(fd, &found) != 0) {
        return errno;
    }
    text.resize(
        static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(found.st_size), kWayBackTextMax)) + 1);
    size_t count = 0;
    const int error = file_io::read_up_to(fd, text.data(), text.size(), &count) ? 0 : errno;
    text.resize(count);
    return error;
}

}  // namespace

int WayBackFile::report(const char *what, int error) const {
    errno = error;
    OS_LOG_ERRNO((what + (" " + path_)).c_str());
    return error;
}

void WayBackFile::set_aside() const {
    std::string name;
    const int error = keep_damaged(path_, name);
    if (error != 0) {
        (void)report("can't keep a copy of", error);
        return;
    }
    OS_LOG(OS_LOG_WARNING, "%s is damaged and becomes %s: unconfirmed settings stay", path_.c_str(),
           name.c_str());
    if (::unlink(path_.c_str()) != 0) {
        (void)report("can't remove", errno);
    }
}

int WayBackFile::read(WayBack &way_back, bool &is_there) {
    (void)remove_leftover(path_);
    is_there = false;
    UniqueFd fd;
    std::string text;
    int error = open_file(path_, O_RDONLY, fd);
    if (error == ENOENT) {
        return 0;
    }
    error = error == 0 ? read_text(fd.get(), text) : error;
    if (error != 0) {
        return report("can't read", error);
    }
    is_there = parse_way_back(text, way_back);
    is_there_ = is_there;
    if (!is_there) {
        set_aside();
    }
    return 0;
}

int WayBackFile::write(const WayBack &way_back) {
    SuccessorFile file(path_);
    file.add(format_way_back(way_back));
    int error = file.put_in_place(AtomicFile::Sync::kAll);
    is_there_ = is_there_ || file.in_place();
    error = error == 0 ? sync_folders_above(path_) : error;
    return error == 0 ? 0 : report("can't write", error);
}

int WayBackFile::remove(bool &is_gone) {
    is_gone = !is_there_ || ::unlink(path_.c_str()) == 0 || errno == ENOENT;
    const int error = !is_gone ? errno : is_there_ ? sync_folder_of(path_) : 0;
    if (error != 0 && error != ENOENT) {
        return report("can't remove", error);
    }
    is_there_ = false;
    return 0;
}
