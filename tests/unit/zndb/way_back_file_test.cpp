#include "way_back_file.h"

#include "unit/zndb/zndb_files.h"

namespace {

const std::string kFile = "/m_data/usr/db/way_back.txt";

class WayBackFileTest : public DiskTest {
  protected:
    WayBackFileTest() {
        std::filesystem::remove_all("/m_data/usr/db");
        std::filesystem::create_directories("/m_data/usr/db");
    }

    static std::string read(WayBackFile &file) {
        WayBack way_back;
        bool is_there = true;
        const int error = file.read(way_back, is_there);
        return error != 0 ? "errno " + std::to_string(error) : !is_there ? "none" : format_way_back(way_back);
    }

    static std::string read() {
        WayBackFile file(kFile);
        return read(file);
    }

    const WayBack way_back_ = {false, false, false, "", {{StoreId::kPlain, "a", "1", "2"}}};
    const std::string text_ = format_way_back(way_back_);
    WayBackFile file_{kFile};
    bool is_gone_ = false;
};

}  // namespace

TEST_F(WayBackFileTest, IsReadAsItWasWritten) {
    EXPECT_EQ("none", read());
    EXPECT_EQ(0, file_.write(way_back_));
    EXPECT_EQ(text_, content_of(kFile));
    EXPECT_EQ(0600u, mode_of(kFile));
    EXPECT_EQ(text_, read());
    EXPECT_EQ(0, file_.remove(is_gone_));
    EXPECT_TRUE(is_gone_);
    EXPECT_FALSE(exists(kFile));
    EXPECT_EQ("none", read());
}

TEST_F(WayBackFileTest, IsSyncedWithTheFoldersAboveIt) {
    EXPECT_EQ(0, file_.write(way_back_));
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, file_.write(way_back_));
    EXPECT_GE(doubles::libc::fsync.calls(), 4u); /* the file, its folder and those above */
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, file_.remove(is_gone_));
    EXPECT_EQ(1u, doubles::libc::fsync.calls());
}

TEST_F(WayBackFileTest, ThatWasNeverWrittenIsGone) {
    EXPECT_EQ(0, file_.remove(is_gone_));
    EXPECT_TRUE(is_gone_);
    EXPECT_EQ(std::vector<std::string>(), warnings(log_));
}

TEST_F(WayBackFileTest, MalformedIsSetAside) {
    put_file(kFile, text_.substr(1));
    EXPECT_EQ("none", read());
    EXPECT_FALSE(exists(kFile));
    put_file(kFile, text_.substr(2));
    EXPECT_EQ("none", read());
    std::vector<std::string> kept;
    for (const std::string &file : files_beginning(kFile + ".damaged-")) {
        kept.push_back(content_of(file));
    }
    std::sort(kept.begin(), kept.end(), [](const auto &a, const auto &b) { return a.size() < b.size(); });
    EXPECT_EQ((std::vector<std::string>{text_.substr(2), text_.substr(1)}), kept);
    EXPECT_EQ(2u, warnings(log_).size());
}

TEST_F(WayBackFileTest, ThatCanNotBeSetAsideIsReplacedByTheNextOne) {
    put_file(kFile, "garbage");
    doubles::libc::link.stand_in([](const char *, const char *) {
        errno = EROFS;
        return -1;
    });
    limit_disk(0);
    EXPECT_EQ("none", read(file_));
    EXPECT_EQ(1u, warnings(log_).size());
    end_faults();
    EXPECT_EQ(0, file_.write(way_back_));
    EXPECT_EQ(text_, read());
}

TEST_F(WayBackFileTest, ThatCanNotBeRemovedAfterItIsKeptIsReported) {
    put_file(kFile, "garbage");
    doubles::libc::unlink.stand_in([](const char *path) {
        if (path == kFile) {
            errno = EROFS;
            return -1;
        }
        return doubles::libc::unlink.real(path);
    });
    EXPECT_EQ("none", read(file_));
    EXPECT_EQ(2u, warnings(log_).size());
}

TEST_F(WayBackFileTest, UnreadableIsReported) {
    put_file(kFile, text_);
    fail_open(kFile, EIO);
    EXPECT_EQ("errno 5", read());
    end_faults();
    fail_read_behind(0);
    EXPECT_EQ("errno 5", read());
    EXPECT_EQ(2u, warnings(log_).size());
}

TEST_F(WayBackFileTest, OnAFullDiskIsNotThere) {
    EXPECT_EQ(0, file_.write(way_back_));
    limit_disk(3);
    WayBack other = way_back_;
    other.changes[0].before = "other";
    EXPECT_EQ(ENOSPC, file_.write(other));
    end_faults();
    EXPECT_EQ(text_, read());
    EXPECT_FALSE(exists(kFile + ".tmp"));
}

TEST_F(WayBackFileTest, ThatPerhapsReachedTheDiskIsRemovedAgain) {
    fail_folder_sync();
    EXPECT_EQ(EIO, file_.write(way_back_));
    EXPECT_TRUE(exists(kFile));
    EXPECT_EQ(EIO, file_.remove(is_gone_));
    EXPECT_TRUE(is_gone_);
    end_faults();
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, file_.remove(is_gone_)); /* once more, for the sync */
    EXPECT_EQ(1u, doubles::libc::fsync.calls());
}

TEST_F(WayBackFileTest, ThatCanNotBeRemovedIsReported) {
    EXPECT_EQ(0, file_.write(way_back_));
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ(EROFS, file_.remove(is_gone_));
    EXPECT_FALSE(is_gone_);
    EXPECT_EQ(1u, warnings(log_).size());
}

TEST_F(WayBackFileTest, OfAWipedFolderIsGone) {
    EXPECT_EQ(0, file_.write(way_back_));
    std::filesystem::remove_all("/m_data/usr/db");
    EXPECT_EQ(0, file_.remove(is_gone_));
    EXPECT_TRUE(is_gone_);
}

TEST_F(WayBackFileTest, ThatAKilledServiceHadNotFinishedIsRemoved) {
    put_file(kFile + ".tmp", "half");
    EXPECT_EQ("none", read());
    EXPECT_FALSE(exists(kFile + ".tmp"));
}
