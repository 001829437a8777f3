#include "own_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/unprivileged.h"
#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

const std::string kFolder = "/tmp/m_tmp/own";
const std::string kLock = kFolder + "/lock/module";
const std::string kSocket = kFolder + "/socket";

class OwnFilesTest : public testing::Test {
  protected:
    OwnFilesTest() {
        fs::remove_all(kFolder);
        fs::create_directories(kFolder + "/lock");
        put(kLock);
        put(kSocket);
    }

    static void put(const std::string &path) { ASSERT_TRUE(write_text(path, "")); }

    /* Another file in one's place, while the first is still there. */
    static void replace(const std::string &path) {
        put(path + ".new");
        fs::rename(path + ".new", path);
    }
};

/* What is lost, or "nothing". */
std::string lost(const OwnFiles &files) {
    const char *path = files.lost();
    return path != nullptr ? path : "nothing";
}

TEST_F(OwnFilesTest, NothingIsLostWhileTheyAreThereWhateverIsInThem) {
    const OwnFiles files({kLock, kSocket});
    EXPECT_EQ("nothing", lost(files));
    ASSERT_TRUE(write_text(kLock, "1234"));
    EXPECT_EQ("nothing", lost(files));
}

TEST_F(OwnFilesTest, AFileThatIsGoneOrWhoseFolderIsGoneIsLost) {
    const OwnFiles files({kLock, kSocket});
    fs::remove(kSocket);
    EXPECT_EQ(kSocket, lost(files));
    fs::remove_all(kFolder + "/lock");
    EXPECT_EQ(kLock, lost(files));
    put(kFolder + "/lock");
    EXPECT_EQ(kLock, lost(files));
}

TEST_F(OwnFilesTest, AnotherFileInOnesPlaceIsNone) {
    const OwnFiles files({kLock, kSocket});
    replace(kSocket);
    EXPECT_EQ(kSocket, lost(files));
    replace(kLock);
    EXPECT_EQ(kLock, lost(files));
}

TEST_F(OwnFilesTest, AFileThatWasNeverThereIsNotLost) {
    const OwnFiles files({kFolder + "/none", kSocket});
    EXPECT_EQ("nothing", lost(files));
    put(kFolder + "/none");
    EXPECT_EQ("nothing", lost(files));
}

TEST_F(OwnFilesTest, AFileThatCantBeLookedAtIsNotGivenUp) {
    const OwnFiles files({kLock, kSocket});
    fs::permissions(kFolder + "/lock", fs::perms::none);
    {
        const ModesHold unprivileged;
        EXPECT_EQ("nothing", lost(files));
    }
    fs::permissions(kFolder + "/lock", fs::perms::owner_all);
}

}  // namespace
