/*
 * A journal full of garbage.
 */
#include <gtest/gtest.h>

#include <string>

#include "system/zndb/zndb_process.h"

namespace {

using RubbishJournal = ZndbTest;

const std::string kBig(1000, 'x');

constexpr size_t kMegabyte = size_t{1} << 20;

/* The most memory that a process has had, in bytes. */
size_t peak_memory(pid_t pid) {
    const std::string status = file_text("/proc/" + std::to_string(pid) + "/status");
    const size_t line = status.find("VmHWM:");
    return line != std::string::npos ? std::stoul(status.substr(line + 6)) * 1024 : 0;
}

size_t count_of(const std::string &word, const std::string &text) {
    size_t count = 0;
    for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

/* What sanitizers and the emulator keep of freed memory; all lines at once would take 1.3 GB. */
constexpr size_t kHeldBack = 64 * kMegabyte;

/* Lines of this kind, 20 MB of them. */
std::string journal_of(const std::string &line) {
    std::string content;
    while (content.size() < 20 * kMegabyte) {
        content += line;
    }
    return content;
}

TEST_F(RubbishJournal, TakesNeitherMemoryNorTheLog) {
    start();
    const size_t before = peak_memory(zndb_->pid());
    ASSERT_GT(before, 0u);
    for (const std::string &line : {std::string("\n"), std::string("rubbish\n"), "P+k=" + kBig + "\n"}) {
        zndb_->kill();
        ASSERT_TRUE(write_text("/tmp/m_tmp/zndb/journal.plain", journal_of(line) + "P+last=1\n"));
        start();
        EXPECT_EQ("1", plain("last"));
        EXPECT_LT(peak_memory(zndb_->pid()), before + kHeldBack);
        EXPECT_LE(count_of(" skipped: ", zndb_->errors()), 20u);
        EXPECT_LE(count_of(" more lines skipped", zndb_->errors()), 1u);
    }
}

}  // namespace
