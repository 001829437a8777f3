#include "faults/leaks.h"

#include <fcntl.h>

#include <filesystem>

#include "faults/injector.h"
#include "support/wait_until.h"

namespace faults {

namespace {

constexpr int kMostDescriptors = 256;
constexpr std::chrono::milliseconds kLimit{2000};

size_t open_descriptors() {
    size_t count = 0;
    for (int fd = 0; fd < kMostDescriptors; ++fd) {
        count += ::fcntl(fd, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
}

bool holds_no_more(const Holdings &before) {
    const Holdings now = holdings();
    return now.blocks <= before.blocks && now.tracked <= before.tracked &&
           now.descriptors <= before.descriptors;
}

std::string more(const char *what, long count) {
    return count > 0 ? " " + std::to_string(count) + " " + what : "";
}

}  // namespace

Holdings holdings() {
    os_mem_usage_t usage = {};
    os_mem_usage(&usage);
    return {live_blocks(), usage.live_blocks, open_descriptors()};
}

std::string grown_since(const Holdings &before) {
    if (holds_no_more(before) || wait_until([&] { return holds_no_more(before); }, kLimit)) {
        return "";
    }
    const Holdings now = holdings();
    return more("blocks", now.blocks - before.blocks) +
           more("tracked blocks", static_cast<long>(now.tracked) - static_cast<long>(before.tracked)) +
           more("descriptors", static_cast<long>(now.descriptors) - static_cast<long>(before.descriptors));
}

std::set<std::string> device_files() {
    std::set<std::string> files;
    for (const char *folder : {"/m_data", "/m_webui", "/tmp/m_tmp"}) {
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
            files.insert(entry.path());
        }
    }
    return files;
}

}  // namespace faults
