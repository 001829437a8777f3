#include "store_recovery.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "unit/zndb/zndb_files.h"

namespace {

const std::string kFolder = "/m_data/usr/recovery";
const std::string kPath = kFolder + "/data.txt";
const std::string kPrevious = kPath + ".previous";
const std::string kGood = saved_file("k=old\n", 6);

using Values = Store::Values;

class StoreRecovery : public DiskTest {
  protected:
    void SetUp() override {
        std::filesystem::remove_all(kFolder);
        std::filesystem::create_directories(kFolder);
    }

    Values load() {
        Store store;
        loaded_ = load_newest(kPath, store);
        EXPECT_FALSE(store.changed());
        return store.values();
    }

    static std::vector<std::string> set_aside() { return files_beginning(kPath + ".damaged-"); }

    /* Expects that the file was replaced by the one before the last save, with one warning. */
    void expect_previous_used(const std::string &content, const std::string &why) {
        EXPECT_EQ((Values{{"k", "old"}}), load()) << why;
        end_faults();
        EXPECT_EQ(0, loaded_.error);
        EXPECT_FALSE(loaded_.is_file_damaged);
        EXPECT_EQ(kGood, content_of(kPath));
        EXPECT_EQ(kGood, content_of(kPrevious));
        ASSERT_EQ(1u, set_aside().size());
        EXPECT_EQ(set_aside()[0], loaded_.set_aside);
        EXPECT_TRUE(content == content_of(loaded_.set_aside));
        EXPECT_EQ(
            (std::vector<std::string>{
                kPath + " is damaged: " + why + ". It was set aside as " + loaded_.set_aside +
                "; the file before the last save is used. To edit the file by hand, remove its last line"}),
            warnings(log_));
        log_.clear();
        std::filesystem::remove(loaded_.set_aside);
    }

    LoadedStore loaded_ = {};
};

/* ---- Sound files ------------------------------------------------------------------------------------ */

TEST_F(StoreRecovery, ASoundFileIsLoadedWithItsGeneration) {
    put_file(kPath, saved_file("k=v\n", 7));
    put_file(kPrevious, kGood);
    EXPECT_EQ((Values{{"k", "v"}}), load());
    EXPECT_EQ(7u, loaded_.generation);
    EXPECT_TRUE(set_aside().empty());
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, AFileOfAnOlderServiceIsLoadedAsItIs) {
    put_file(kPath, "k=v\n");
    EXPECT_EQ((Values{{"k", "v"}}), load());
    EXPECT_EQ(0u, loaded_.generation);
    put_file(kPrevious, kGood);
    EXPECT_EQ((Values{{"k", "v"}}), load()) << "its last line may have been removed by hand";
    EXPECT_EQ(6u, loaded_.generation);
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, AMissingFileIsEmptyWhateverThePreviousOneHas) {
    put_file(kPrevious, kGood);
    EXPECT_EQ(Values{}, load()) << "who removes the file wants the defaults";
    EXPECT_EQ(6u, loaded_.generation);
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, AFileWithoutALineEndIsReadWhereThereIsNoPreviousOne) {
    put_file(kPath, "a=1\nk=v");
    EXPECT_EQ((Values{{"a", "1"}, {"k", "v"}}), load());
    put_file(kPath, "");
    EXPECT_EQ(Values{}, load());
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, ALineAfterTheCheckLineMakesItAFileWithoutOne) {
    put_file(kPath, saved_file("k=v\n", 7) + "by=hand\n");
    EXPECT_EQ((Values{{"by", "hand"}, {"k", "v"}}), load());
    EXPECT_EQ("", log_.text());
}

/* ---- Damaged files ---------------------------------------------------------------------------------- */

TEST_F(StoreRecovery, AnyBitThatFlipsBeforeTheChecksumIsSeen) {
    const std::string sound = saved_file("k=v\nlonger=" + std::string(20, 'x') + "\n", 7);
    const size_t covered = sound.find("#zndb");
    for (size_t at = 0; at < covered; ++at) {
        std::string content = sound;
        content[at] = static_cast<char>(content[at] ^ 4);
        put_file(kPath, content);
        put_file(kPrevious, kGood);
        expect_previous_used(content, "its checksum is wrong");
    }
}

TEST_F(StoreRecovery, ACheckLineThatLiesIsDamage) {
    for (const char *line :
         {"#zndb format=1 generation=7 check=00000000\n", "#zndb format=1 generation=7 check=0000000\n",
          "#zndb format=\n", "#zndb format=1 generation=7\n"}) {
        const std::string content = std::string("k=v\n") + line;
        put_file(kPath, content);
        put_file(kPrevious, kGood);
        expect_previous_used(content, "its checksum is wrong");
    }
}

TEST_F(StoreRecovery, ALineThatIsTooLongIsNoCheckLine) {
    put_file(kPath, "k=v\n#zndb format=1 generation=1 " + std::string(9000, 'x') + " check=00000000\n");
    put_file(kPrevious, kGood);
    EXPECT_EQ((Values{{"k", "v"}}), load());
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, AValueMayHaveWordsOfACheckLine) {
    const std::string line = "k=#zndb format=1 generation=7 check=\n";
    put_file(kPath, line);
    put_file(kPrevious, kGood);
    EXPECT_EQ((Values{{"k", "#zndb format=1 generation=7 check="}}), load());
    put_file(kPath, saved_file(line, 7));
    EXPECT_EQ(1u, load().size());
    EXPECT_EQ(7u, loaded_.generation);
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreRecovery, AFileThatIsCutIsSeenUnlessItEndsWithALine) {
    const std::string sound = saved_file("k=v\nl=w\n", 7);
    for (size_t length = 0; length < sound.size(); ++length) {
        const std::string content = sound.substr(0, length);
        put_file(kPath, content);
        put_file(kPrevious, kGood);
        if (length == 0 || content.back() != '\n') {
            expect_previous_used(content, "it is cut");
        }
    }
}

TEST_F(StoreRecovery, AFileThatCantBeReadIsReplacedByThePreviousOne) {
    put_file(kPath, saved_file("k=v\n", 7));
    put_file(kPrevious, kGood);
    fail_open(kPath, EIO);
    expect_previous_used(saved_file("k=v\n", 7), "it can't be read");
}

/* The first look is at the check line, the second one at the settings. */
TEST_F(StoreRecovery, AFileThatCantBeReadAtTheSecondLookIsReplacedToo) {
    put_file(kPath, saved_file("k=v\n", 7));
    put_file(kPrevious, kGood);
    unsigned opened = 0;
    fail_opens([&opened](const std::string &path) { return path == kPath && ++opened == 2 ? EIO : 0; });
    expect_previous_used(saved_file("k=v\n", 7), "it can't be read");
}

TEST_F(StoreRecovery, AFolderInTheFilesPlaceIsRenamed) {
    std::filesystem::create_directories(kPath + "/inside");
    put_file(kPrevious, kGood);
    EXPECT_EQ((Values{{"k", "old"}}), load());
    EXPECT_EQ(kGood, content_of(kPath));
    EXPECT_TRUE(exists(loaded_.set_aside + "/inside"));
}

/* The process is short of something, and the file is sound. */
TEST_F(StoreRecovery, AProcessWithoutDescriptorsSetsNothingAside) {
    put_file(kPath, saved_file("k=v\n", 7));
    put_file(kPrevious, kGood);
    fail_open(kPath, EMFILE);
    EXPECT_EQ(Values{}, load());
    EXPECT_EQ(EMFILE, loaded_.error);
    EXPECT_TRUE(set_aside().empty());
    EXPECT_TRUE(log_.contains("can't read " + kPath + " errno=24")) << log_.text();
}

TEST_F(StoreRecovery, TheNextGenerationIsNewerThanThatOfTheDamagedFile) {
    put_file(kPath, "k=v\n#zndb format=1 generation=9 check=00000000\n");
    put_file(kPrevious, kGood);
    (void)load();
    EXPECT_EQ(9u, loaded_.generation);
}

/* ---- No file to fall back to ------------------------------------------------------------------------ */

TEST_F(StoreRecovery, WithoutAPreviousFileWhatCanBeReadIsUsed) {
    const std::string content = "k=v\n#zndb format=1 generation=7 check=00000000\n";
    put_file(kPath, content);
    EXPECT_EQ((Values{{"k", "v"}}), load());
    EXPECT_TRUE(loaded_.is_file_damaged);
    EXPECT_EQ(content, content_of(kPath));
    EXPECT_EQ(content, content_of(loaded_.set_aside));
    EXPECT_EQ(1u, warnings(log_).size()) << log_.text();
    EXPECT_TRUE(log_.contains("there is no file of an earlier save, and what can be read of it is used"));
}

TEST_F(StoreRecovery, APreviousFileThatIsDamagedTooIsNotUsed) {
    put_file(kPath, "k=v\n#zndb format=1 generation=7 check=00000000\n");
    for (const std::string &previous :
         {std::string("k=older\n#zndb format=1 generation=6 check=00000000\n"), std::string("k=cu")}) {
        put_file(kPrevious, previous);
        EXPECT_EQ((Values{{"k", "v"}}), load());
        EXPECT_EQ(previous, content_of(kPrevious));
    }
}

TEST_F(StoreRecovery, APreviousFileThatCantBeReadIsNotUsed) {
    put_file(kPath, "k=cu");
    put_file(kPrevious, kGood);
    unsigned opened = 0;
    fail_opens([&opened](const std::string &path) { return path == kPrevious && ++opened == 2 ? EIO : 0; });
    EXPECT_EQ((Values{{"k", "cu"}}), load());
    EXPECT_TRUE(set_aside().empty());
}

/* ---- A disk that takes nothing ---------------------------------------------------------------------- */

TEST_F(StoreRecovery, ADamagedFileThatCantBeSetAsideStaysAndThePreviousOneIsUsed) {
    put_file(kPath, "k=cu");
    put_file(kPrevious, kGood);
    fail_link(EROFS);
    fail_opens([](const std::string &path) { return path.find(".damaged-") != path.npos ? EROFS : 0; });
    doubles::libc::rename.stand_in([](const char *, const char *) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ((Values{{"k", "old"}}), load());
    end_faults();
    EXPECT_EQ("", loaded_.set_aside);
    EXPECT_TRUE(loaded_.is_file_damaged);
    EXPECT_EQ("k=cu", content_of(kPath));
    EXPECT_TRUE(log_.contains("can't set aside " + kPath + " errno=30")) << log_.text();
    EXPECT_TRUE(log_.contains("is damaged: it is cut. It stays there;")) << log_.text();
}

TEST_F(StoreRecovery, ADamagedFileThatCantBeReplacedStays) {
    put_file(kPath, "k=cu");
    put_file(kPrevious, kGood);
    doubles::libc::rename.stand_in([](const char *, const char *) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ((Values{{"k", "old"}}), load());
    end_faults();
    EXPECT_TRUE(loaded_.is_file_damaged);
    EXPECT_EQ("k=cu", content_of(kPath));
    EXPECT_EQ("k=cu", content_of(loaded_.set_aside));
    EXPECT_FALSE(exists(kPath + ".tmp"));
    EXPECT_TRUE(log_.contains("can't replace " + kPath + " errno=5")) << log_.text();
}

}  // namespace
