// A module sends each line as one datagram to /dev/log. The file has the form that small log daemons write,
// which keeps the level.

#include "device_tree_log.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

#include "device_tree_mounts.h"
#include "formats/device_paths.h"
#include "output/spelt_text.h"
#include "support/log_line.h"

namespace device_tree {
namespace {

constexpr sockaddr_un kLogSocket = {AF_UNIX, "/dev/log"};
constexpr size_t kLongestMessage = 65536;

// At this size a new file is begun, since the tree is in memory.
constexpr off_t kLongestFile = 16L * 1024 * 1024;

constexpr const char *kFacilities[] = {"kern",   "user",     "mail",    "daemon", "auth",     "syslog",
                                       "lpr",    "news",     "uucp",    "cron",   "authpriv", "ftp",
                                       "ntp",    "security", "console", "cron2",  "local0",   "local1",
                                       "local2", "local3",   "local4",  "local5", "local6",   "local7"};
constexpr int kLevels = 8;
constexpr int kNoPriority = 13;  // of the user, a notice: as syslog(3) takes it

const char *file_path() {
    return paths::kLogFiles[0];
}

std::string host_name() {
    char name[256] = "";
    return gethostname(name, sizeof(name) - 1) == 0 && name[0] != '\0' ? name : "device";
}

UniqueFd open_socket() {
    UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd || bind(fd.get(), reinterpret_cast<const sockaddr *>(&kLogSocket), sizeof(kLogSocket)) != 0 ||
        chmod(kLogSocket.sun_path, 0666) != 0) {
        refuse("make", kLogSocket.sun_path);
    }
    return fd;
}

UniqueFd open_file() {
    return UniqueFd(open(file_path(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

// Removes "<188>" from the beginning.
int take_priority(std::string &text) {
    const size_t end = text.find_first_not_of("0123456789", 1);
    if (text[0] != '<' || end == std::string::npos || end < 2 || end > 4 || text[end] != '>') {
        return kNoPriority;
    }
    const int priority = std::stoi(text.substr(1, end - 1));
    if (priority >= static_cast<int>(std::size(kFacilities)) * kLevels) {
        return kNoPriority;
    }
    text.erase(0, end + 1);
    return priority;
}

std::string priority_name(int priority) {
    return std::string(kFacilities[priority / kLevels]) + "." + kLogLevels[priority % kLevels].shorter;
}

// "Nov  5 07:02:09 "
constexpr size_t kTimeLength = 16;

bool has_time(const std::string &text) {
    return text.size() >= kTimeLength && text[3] == ' ' && text[6] == ' ' && text[9] == ':' &&
           text[12] == ':' && text[15] == ' ';
}

std::string time_now() {
    const time_t now = time(nullptr);
    tm parts{};
    char text[64];
    localtime_r(&now, &parts);
    return std::string(text, strftime(text, sizeof(text), "%b %e %H:%M:%S ", &parts));
}

// One line that is safe on a terminal: C0 controls become blanks, as log daemons do it, and what else would
// control a terminal or change the direction of the text is escaped.
std::string safe_line(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\0')) {
        text.pop_back();
    }
    for (char &each : text) {
        each = static_cast<unsigned char>(each) < ' ' ? ' ' : each;
    }
    return spelt_out(text);
}

}  // namespace

std::string log_file_line(const std::string &message, const std::string &host) {
    std::string text = message;
    const int priority = take_priority(text);
    text = safe_line(text);
    if (!has_time(text)) {
        text.insert(0, time_now());
    }
    text.insert(kTimeLength, host + " " + priority_name(priority) + " ");
    return text + "\n";
}

TreeLog::TreeLog(bool print) : print_(print), host_(host_name()), socket_(open_socket()), file_(open_file()) {
    if (!file_) {
        refuse("make file", file_path());
    }
}

void TreeLog::take_messages() {
    std::string message(kLongestMessage, '\0');
    ssize_t length = 0;
    while ((length = recv(socket_.get(), &message[0], message.size(), 0)) > 0) {
        keep(log_file_line(message.substr(0, static_cast<size_t>(length)), host_));
    }
}

// A line that can't be written is lost, as on a device whose memory is full.
void TreeLog::keep(const std::string &line) {
    struct stat info {};
    if (fstat(file_.get(), &info) == 0 && info.st_size >= kLongestFile) {
        (void)rename(file_path(), (std::string(file_path()) + ".0").c_str());
        file_ = open_file();
    }
    (void)!write(file_.get(), line.data(), line.size());
    if (print_) {
        (void)!write(STDERR_FILENO, line.data(), line.size());
    }
}

}  // namespace device_tree
