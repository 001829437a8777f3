#include "event_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "support/wait_until.h"

EventFiles::EventFiles() {
    EXPECT_EQ(0, std::system("rm -rf /m_data/usr/subscribe /m_webui/subscribe /tmp/m_tmp/lock"));
    EXPECT_EQ(0, ::mkdir("/m_data/usr/subscribe", 0755));
}

std::vector<std::string> subscribers() {
    const std::string text = file_text(kEventFile);
    EXPECT_TRUE(text.empty() || text.back() == '\n') << text;
    std::istringstream lines(text);
    std::vector<std::string> names;
    for (std::string name; std::getline(lines, name);) {
        names.push_back(name);
    }
    return names;
}

pid_t lock_holder() {
    const int fd = ::open(kEventLock, O_RDWR | O_CLOEXEC);
    struct flock asked = {};
    asked.l_type = F_WRLCK;
    asked.l_whence = SEEK_SET;
    const int result = ::fcntl(fd, F_GETLK, &asked);
    ::close(fd);
    return result == 0 && asked.l_type != F_UNLCK ? asked.l_pid : 0;
}
