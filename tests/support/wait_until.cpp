#include "support/wait_until.h"

#include <fstream>
#include <sstream>
#include <thread>

bool wait_until(const std::function<bool()> &condition, std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds kPause{2};
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

std::string file_text(const std::string &path) {
    /* Not character by character: with a sanitizer that takes seconds for a large file. */
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool write_text(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    return !file.fail();
}
