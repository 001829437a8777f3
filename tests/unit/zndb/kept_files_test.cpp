#include "kept_files.h"

#include <sys/stat.h>

#include "unit/zndb/zndb_files.h"

namespace {

const std::string kAccounts = "/m_data/usr/www/auth.txt";
const std::string kKeys = "/m_data/usr/www/xpsk.bin";
const std::string kManager = "/m_data/usr/dbm/database.db";
const std::string kBeside = "/m_data/usr/db/way_back.txt";

class KeptFilesTest : public DiskTest {
  protected:
    KeptFilesTest() {
        for (const char *folder : {"/m_data/usr/db", "/m_data/usr/www", "/m_data/usr/dbm"}) {
            std::filesystem::remove_all(folder);
        }
        put_file(kAccounts, "admin");
        put_file(kManager, std::string(100000, 'd'));
        (void)::chmod(kAccounts.c_str(), 0640);
    }

    std::string keep() {
        std::string signs;
        const int error = kept_.keep(signs);
        return error == 0 ? signs : "errno " + std::to_string(error);
    }

    KeptFiles kept_{kBeside};
};

}  // namespace

TEST_F(KeptFilesTest, BringsBackContentModeAndAbsence) {
    EXPECT_EQ("+-+", keep());
    put_file(kAccounts, "somebody else, and more");
    put_file(kKeys, "new");
    std::filesystem::remove_all("/m_data/usr/dbm");
    EXPECT_EQ(0, kept_.put_back("+-+"));
    EXPECT_EQ("admin", content_of(kAccounts));
    EXPECT_EQ(0640u, mode_of(kAccounts));
    EXPECT_FALSE(exists(kKeys));
    EXPECT_EQ(std::string(100000, 'd'), content_of(kManager));
    EXPECT_EQ(0, kept_.put_back("+-+")); /* a start may repeat it */
}

TEST_F(KeptFilesTest, ACopyHasTheRightsOfItsFile) {
    EXPECT_EQ("+-+", keep());
    EXPECT_EQ(0640u, mode_of(kBeside + ".0"));
    EXPECT_FALSE(exists(kBeside + ".1"));
}

TEST_F(KeptFilesTest, KeepsTheInodeOfAFileThatIsThere) {
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(0, ::stat(kAccounts.c_str(), &before));
    EXPECT_EQ("+-+", keep());
    EXPECT_EQ(0, kept_.put_back("+"));
    ASSERT_EQ(0, ::stat(kAccounts.c_str(), &after));
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(KeptFilesTest, DropRemovesTheCopies) {
    EXPECT_EQ("+-+", keep());
    kept_.drop();
    EXPECT_EQ(std::vector<std::string>(), files_beginning(kBeside));
}

TEST_F(KeptFilesTest, AFullDiskIsReported) {
    fill_disk_of("/m_data");
    EXPECT_EQ("errno 28", keep());
    EXPECT_EQ(1u, warnings(log_).size());
}

TEST_F(KeptFilesTest, AnUnreadableFileIsReported) {
    fail_open(kAccounts, EACCES);
    EXPECT_EQ("errno 13", keep());
}

TEST_F(KeptFilesTest, ACopyThatCanNotBeSyncedIsReported) {
    doubles::libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ("errno 5", keep());
}

TEST_F(KeptFilesTest, AFolderThatCanNotBeMadeIsReported) {
    doubles::libc::mkdir.stand_in([](const char *, mode_t) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ("errno 30", keep());
}

TEST_F(KeptFilesTest, ACopyThatIsGoneIsReported) {
    EXPECT_EQ("+-+", keep());
    kept_.drop();
    EXPECT_EQ(ENOENT, kept_.put_back("+"));
    EXPECT_EQ("admin", content_of(kAccounts));
}

TEST_F(KeptFilesTest, AFileThatCanNotBeRemovedIsReported) {
    put_file(kKeys + "/folder", "");
    EXPECT_NE(0, kept_.put_back("--"));
    EXPECT_FALSE(exists(kAccounts));
    EXPECT_EQ(1u, warnings(log_).size());
}

TEST_F(KeptFilesTest, AVanishedCopyOfAWrittenFolderIsNotTakenForAMissingFile) {
    fail_opens([](const std::string &path) { return path == kBeside + ".0" ? ENOENT : 0; });
    EXPECT_EQ("errno 5", keep());
}
