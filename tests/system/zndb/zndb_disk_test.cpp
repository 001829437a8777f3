/*
 * The database on disks that are full, small or read-only.
 */
#include <gtest/gtest.h>

#include <string>

#include "frwk_common.h"
#include "support/checked_file.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr int32_t kNoSpace = 6;
constexpr int32_t kReadOnly = 2006;

const std::string kBig(1000, 'x');

/* A command that lays a tmpfs over a folder. */
std::string mount_on(const std::string &folder, const std::string &options) {
    return "mkdir -p " + folder + " && mount -t tmpfs -o " + options + " tmpfs " + folder;
}

int32_t set(int number, const std::string &value) {
    return ask_zndb(E_APPS_MSG_ZNDB_SET, set_body("key" + std::to_string(number), value));
}

int32_t save() {
    return ask_zndb(E_APPS_MSG_ZNDB_SAVE, "");
}

class ZndbDisk : public ZndbTest {};

TEST_F(ZndbDisk, OnAFullDiskASaveFailsTheOldFileStaysAndReadingGoesOn) {
    start_after(mount_on("/m_data/usr/db", "size=64k"));
    EXPECT_EQ(0, zndb_set("k", "saved"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("k=saved\n", checked_lines(file_of_zndb("/m_data/usr/db/user_data.txt")));

    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(0, set(i, kBig));
    }
    EXPECT_EQ(1, zndb_save());
    EXPECT_EQ(kNoSpace, save());
    EXPECT_TRUE(zndb_->wait_for_error("can't save /m_data/usr/db/user_data.txt errno=28")) << zndb_->errors();
    EXPECT_EQ("k=saved\n", checked_lines(file_of_zndb("/m_data/usr/db/user_data.txt")));
    EXPECT_EQ("", file_of_zndb("/m_data/usr/db/user_data.txt.tmp"));
    EXPECT_EQ("saved", plain("k"));
    EXPECT_EQ(kBig, plain("key99"));

    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(0, zndb_del(("key" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(0, zndb_set("k", "new"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("k=new\n", checked_lines(file_of_zndb("/m_data/usr/db/user_data.txt")));
}

TEST_F(ZndbDisk, WhatAFullDiskRefusedIsStillInTheJournal) {
    start_after(mount_on("/m_data/usr/db", "size=64k"));
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(0, set(i, kBig));
    }
    EXPECT_EQ(kNoSpace, save());
    restart();
    EXPECT_EQ(kBig, plain("key0"));
    EXPECT_EQ(kBig, plain("key99"));
    EXPECT_EQ(0, zndb_save());
}

/* Sets until the journal is full. Returns the number of the set that was refused. */
int fill_journal() {
    int count = 0;
    int32_t result = 0;
    while ((result = set(count, kBig)) == 0 && count < 20) {
        ++count;
    }
    EXPECT_EQ(kNoSpace, result);
    EXPECT_GE(count, 3);
    return count;
}

TEST_F(ZndbDisk, AFullJournalRefusesSetsUntilASaveMakesRoom) {
    start_after(mount_on("/tmp/m_tmp/zndb", "size=8k"));
    const int count = fill_journal();
    EXPECT_TRUE(zndb_->wait_for_error("can't write /tmp/m_tmp/zndb/journal.plain errno=28"))
        << zndb_->errors();
    EXPECT_EQ("ret 3", plain("key" + std::to_string(count)));
    EXPECT_EQ(kBig, plain("key0"));
    EXPECT_EQ('\n', file_of_zndb("/tmp/m_tmp/zndb/journal.plain").back());

    EXPECT_EQ(0, save());
    EXPECT_EQ(0, set(count, kBig));
    EXPECT_EQ(kBig, plain("key" + std::to_string(count)));
}

TEST_F(ZndbDisk, AFullJournalTakesSetsAgainWithoutASaveOfTheOverlay) {
    start_after(mount_on("/tmp/m_tmp/zndb", "size=8k"));
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("k", "v")));
    const int count = fill_journal();
    EXPECT_EQ(0, save());
    EXPECT_EQ(0, set(count, kBig));
    EXPECT_EQ("F+k=v\n", file_of_zndb("/tmp/m_tmp/zndb/journal.factory"));
    EXPECT_EQ("v", def("k"));
    EXPECT_EQ(kBig, plain("key0"));
    EXPECT_EQ(kBig, plain("key" + std::to_string(count)));
}

TEST_F(ZndbDisk, AFileSizeLimitIsLikeAFullDisk) {
    std::string content;
    for (int i = 0; i < 100; ++i) {
        content += "big" + std::to_string(i) + "=" + kBig + "\n";
    }
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", content));
    start_after("trap '' XFSZ && ulimit -f 32");
    EXPECT_EQ(0, set(1, "v"));
    EXPECT_EQ(kNoSpace, save());
    EXPECT_EQ(content, file_text("/m_data/usr/db/user_data.txt"));
    EXPECT_EQ("v", plain("key1"));
    EXPECT_EQ(kBig, plain("big99"));
}

TEST_F(ZndbDisk, SavingToAReadOnlyFileSystemGives2006) {
    start_after(mount_on("/m_data/usr/db", "ro"));
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(1, zndb_save());
    EXPECT_EQ(kReadOnly, save());
    EXPECT_TRUE(zndb_->wait_for_error("can't save /m_data/usr/db/user_data.txt errno=30")) << zndb_->errors();
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbDisk, AnOverlayOnAReadOnlyFileSystemGives2006) {
    start_after(mount_on("/m_data/factor", "ro"));
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("k", "v")));
    EXPECT_EQ(kReadOnly, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SAVE, ""));
    EXPECT_EQ("v", def("k"));
}

TEST_F(ZndbDisk, RubbishInThePlaceOfFilesIsSurvived) {
    start_after(
        "mkdir -p /m_data/usr/db/user_data.txt /m_data/usr_permanent/db && "
        "head -c 1000000 /dev/urandom > /m_data/usr_permanent/db/perm_data.txt && "
        "ln -s /dev/zero /m_webui/usr/db/default_data.txt && "
        "mkfifo /m_data/factor/factor_data.txt");
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(0, zndb_set_perm_data("k", "pv"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("pv", perm("k"));
    EXPECT_EQ(2007, save());
}

}  // namespace
