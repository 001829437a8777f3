#include "security/folders/attacked_device.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

#include "support/other_user.h"
#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

constexpr mode_t kAll = 0777;

bool make_socket(const std::string &path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

bool make(Plant what, const std::string &path, const std::string &text) {
    switch (what) {
        case Plant::kFile:
            return write_text(path, text) && ::chmod(path.c_str(), 0666) == 0;
        case Plant::kLink:
            return ::symlink(kVictim, path.c_str()) == 0;
        case Plant::kPipe:
            return ::mkfifo(path.c_str(), 0666) == 0;
        case Plant::kFolder:
            return ::mkdir(path.c_str(), kAll) == 0;
        case Plant::kFullFolder:
            return ::mkdir(path.c_str(), kAll) == 0 && write_text(path + "/file", text);
        case Plant::kSocket:
            return make_socket(path);
    }
    return false;
}

}  // namespace

const char *name_of(Plant plant) {
    switch (plant) {
        case Plant::kFile:
            return "a file";
        case Plant::kLink:
            return "a link";
        case Plant::kPipe:
            return "a pipe";
        case Plant::kFolder:
            return "a folder";
        case Plant::kFullFolder:
            return "a folder with a file in it";
        case Plant::kSocket:
            return "a socket";
    }
    return "?";
}

void clean_device() {
    for (const fs::directory_entry &entry : fs::directory_iterator("/tmp/m_tmp")) {
        fs::remove_all(entry.path());
    }
    ASSERT_EQ(0, ::chmod("/tmp/m_tmp", 0755));
    ASSERT_TRUE(write_text(kVictim, kPrecious));
}

void open_to_all(const std::string &folder) {
    (void)::mkdir(folder.c_str(), kAll);
    ASSERT_EQ(0, ::chmod(folder.c_str(), kAll));
}

void plant(Plant what, const std::string &path, const std::string &text) {
    const int status = as_other_user([&] {
        (void)::umask(0);
        return make(what, path, text) ? 0 : 1;
    });
    ASSERT_EQ(0, status) << name_of(what) << " at " << path;
}

Umask::Umask(mode_t mask) : before_(::umask(mask)) {}

Umask::~Umask() {
    (void)::umask(before_);
}
