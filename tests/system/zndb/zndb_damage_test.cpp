/*
 * Files that flash has damaged, or that somebody has edited, at the start of the real service.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "formats/zndb_wire.h"
#include "support/checked_file.h"
#include "support/wait_until.h"
#include "system/messaging/raw_peer.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kPlainFile = "/m_data/usr/db/user_data.txt";
constexpr size_t kHeaderSize = 24;

class ZndbDamage : public ZndbTest {
  protected:
    /* Leaves a file with k=2, and the one of the save before it, with k=1. */
    void save_twice() {
        start();
        for (const char *value : {"1", "2"}) {
            EXPECT_EQ(0, zndb_set("k", value));
            EXPECT_EQ(0, zndb_save());
        }
    }
};

TEST_F(ZndbDamage, IsToldByAWarningAndAnEventAndThePreviousFileIsUsed) {
    RawServer listener("sms");
    std::filesystem::create_directories("/m_data/usr/subscribe");
    ASSERT_TRUE(write_text("/m_data/usr/subscribe/ZNDB_STORE_DAMAGED", "sms\n"));
    save_twice();
    ASSERT_TRUE(write_text(kPlainFile, "k=3\n" + file_text(kPlainFile).substr(4)));
    restart();
    EXPECT_EQ("1", plain("k"));
    EXPECT_TRUE(zndb_->wait_for_error(kPlainFile + " is damaged: its checksum is wrong")) << zndb_->errors();

    RawConnection sender = listener.accept();
    const std::string header = sender.receive(kHeaderSize);
    EXPECT_EQ(static_cast<uint32_t>(kStoreDamagedMessage), word_at(header, 4));
    const std::string body = sender.receive(word_at(header, 20));
    ASSERT_FALSE(body.empty());
    EXPECT_EQ('\0', body.back());
    EXPECT_EQ(0u, body.find(kPlainFile + ".damaged-")) << body;
    EXPECT_EQ(0u, file_text(body.c_str()).find("k=3\n"));
    std::filesystem::remove("/m_data/usr/subscribe/ZNDB_STORE_DAMAGED");
}

TEST_F(ZndbDamage, AFileThatWasEditedByHandIsReadWithoutItsLastLine) {
    save_twice();
    const std::string content = file_text(kPlainFile);
    ASSERT_TRUE(write_text(kPlainFile, content.substr(0, content.find("#zndb ")) + "by=hand\n"));
    restart();
    EXPECT_EQ("2", plain("k"));
    EXPECT_EQ("hand", plain("by"));
    EXPECT_EQ(0, zndb_set("k", "3"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("by=hand\nk=3\n", checked_lines(file_text(kPlainFile)));
}

/* As after a power cut on a file system that has lost the file's blocks. */
TEST_F(ZndbDamage, AnEmptyFileIsReplacedByThePreviousOne) {
    save_twice();
    ASSERT_TRUE(write_text(kPlainFile, ""));
    cut_power();
    EXPECT_EQ("1", plain("k"));
    cut_power();
    EXPECT_EQ("1", plain("k"));
}

}  // namespace
