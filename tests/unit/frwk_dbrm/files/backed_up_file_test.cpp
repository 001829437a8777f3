/*
 * The files that a backup reads and a restore writes, in folders of the caller and of another user.
 */
#include "frwk_dbrm/files/backed_up_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/file_info.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/another_user.h"

namespace {

using backed_up_file::Source;

constexpr char kFolder[] = "/m_data/usr/guarded";
constexpr char kFile[] = "/m_data/usr/guarded/file";
constexpr char kElsewhere[] = "/m_data/usr/elsewhere";
constexpr char kPrecious[] = "/m_data/usr/elsewhere/precious";

class BackedUpFile : public testing::Test {
  protected:
    BackedUpFile() {
        doubles::restore_all();
        for (const char *folder : {kFolder, kElsewhere}) {
            std::filesystem::remove_all(folder);
            std::filesystem::create_directories(folder);
        }
        EXPECT_TRUE(write_text(kPrecious, "precious"));
    }
    ~BackedUpFile() override {
        doubles::restore_all();
        EXPECT_EQ("precious", file_text(kPrecious));
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove_all(kElsewhere);
    }

    static void give_folder_away() { give_to_another_user({kFolder}); }

    /* The folder belongs to another user at the first look, and can't be looked at again. */
    static void fail_second_look_at_folder() {
        doubles::libc::fstat.stand_in([looks = 0](int fd, struct stat *info) mutable {
            const int result = doubles::libc::fstat.real(fd, info);
            std::error_code error;
            if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), error) != kFolder) {
                return result;
            }
            info->st_uid = kAnotherUser;
            errno = EIO;
            return ++looks == 1 ? result : -1;
        });
    }

    static UniqueFile open_source(Source source = Source::kOfFolderOwner) {
        return backed_up_file::open_source(kFile, source);
    }

    static std::string source_text() {
        char text[32] = "";
        const UniqueFile file = open_source();
        return file && std::fgets(text, sizeof(text), file.get()) != nullptr ? text : "";
    }

    static bool write_target(const std::string &text) {
        const UniqueFd fd = backed_up_file::open_target(kFile);
        return fd && ::write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }
};

TEST_F(BackedUpFile, IsReadWhoeverOwnsTheFolder) {
    ASSERT_TRUE(write_text(kFile, "text"));
    EXPECT_EQ("text", source_text());
    give_folder_away();
    EXPECT_EQ("text", source_text());
}

TEST_F(BackedUpFile, ThatIsMissingIsNotRead) {
    EXPECT_FALSE(open_source());
    EXPECT_EQ(ENOENT, errno);
    give_folder_away();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(BackedUpFile, IsReadThroughTheCallersLinkOnly) {
    std::filesystem::create_symlink(kPrecious, kFile);
    EXPECT_EQ("precious", source_text());
    give_folder_away();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(BackedUpFile, BelowAnothersLinkIsNeitherReadNorWrittenNorRemoved) {
    const std::string below = std::string(kFolder) + "/link/precious";
    std::filesystem::create_symlink(kElsewhere, std::string(kFolder) + "/link");
    give_folder_away();
    EXPECT_TRUE(backed_up_file::is_behind_strange_link(below.c_str()));
    EXPECT_FALSE(backed_up_file::open_source(below.c_str(), Source::kOfFolderOwner));
    EXPECT_EQ(ELOOP, errno);
    EXPECT_FALSE(backed_up_file::open_target(below.c_str()));
    EXPECT_EQ(ELOOP, errno);
    backed_up_file::remove_target(below.c_str());
}

TEST_F(BackedUpFile, BehindTheCallersLinkIsNotStrange) {
    std::filesystem::create_symlink(kElsewhere, std::string(kFolder) + "/link");
    EXPECT_FALSE(backed_up_file::is_behind_strange_link((std::string(kFolder) + "/link/precious").c_str()));
}

TEST_F(BackedUpFile, WithASecondNameIsNotReadFromAnothersFolder) {
    std::filesystem::create_hard_link(kPrecious, kFile);
    EXPECT_EQ("precious", source_text());
    give_folder_away();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(EPERM, errno);
}

/* The folder's owner may have moved it there from any folder of theirs. */
TEST_F(BackedUpFile, OfRootsOwnIsNotReadFromAnothersFolder) {
    ASSERT_TRUE(write_text(kFile, "text"));
    ASSERT_EQ(0, ::chmod(kFile, 0600));
    EXPECT_EQ("text", source_text());
    give_folder_away();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(EPERM, errno);
    EXPECT_TRUE(open_source(Source::kOfAnybody));
    ASSERT_EQ(0, ::chmod(kFile, 0604));
    EXPECT_EQ("text", source_text());
}

TEST_F(BackedUpFile, OfRootsOwnIsReplacedInAnothersFolderByOneOfTheSameMode) {
    ASSERT_TRUE(write_text(kFile, "precious"));
    ASSERT_EQ(0, ::chmod(kFile, 04755));
    const UniqueFd before(::open(kFile, O_RDONLY | O_CLOEXEC));
    give_folder_away();
    EXPECT_TRUE(write_target("new"));
    EXPECT_EQ("new", file_text(kFile));
    EXPECT_EQ(0755u, mode_of(kFile));
    char text[16] = "";
    EXPECT_EQ(8, ::pread(before.get(), text, sizeof(text), 0));
    EXPECT_STREQ("precious", text);
}

TEST_F(BackedUpFile, IsNotReadFromAFolderOfWhichNothingIsKnown) {
    ASSERT_TRUE(write_text(kFile, "text"));
    fail_second_look_at_folder();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(EIO, errno);
}

TEST_F(BackedUpFile, ThatIsAPipeIsNotWaitedForInAnothersFolder) {
    ASSERT_EQ(0, ::mkfifo(kFile, 0600));
    give_folder_away();
    EXPECT_FALSE(open_source());
    EXPECT_EQ(EINVAL, errno);
    EXPECT_TRUE(write_target("new"));
    EXPECT_EQ("new", file_text(kFile));
}

TEST_F(BackedUpFile, IsWrittenAnewForItsOwnerOnly) {
    for (const bool is_given : {false, true}) {
        std::filesystem::remove(kFile);
        if (is_given) {
            give_folder_away();
        }
        EXPECT_TRUE(write_target("new"));
        EXPECT_EQ("new", file_text(kFile));
        EXPECT_EQ(0600u, mode_of(kFile));
    }
}

TEST_F(BackedUpFile, KeepsItsModeAndItsNumberWhenItIsWritten) {
    for (const bool is_given : {false, true}) {
        ASSERT_TRUE(write_text(kFile, "an older text"));
        ASSERT_EQ(0, ::chmod(kFile, 0640));
        const struct stat before = info_of(kFile);
        if (is_given) {
            give_to_another_user({kFolder, kFile});
        }
        EXPECT_TRUE(write_target("new"));
        EXPECT_EQ("new", file_text(kFile));
        EXPECT_EQ(before.st_ino, info_of(kFile).st_ino);
        EXPECT_EQ(0640u, mode_of(kFile));
    }
}

TEST_F(BackedUpFile, ReplacesALinkInAnothersFolder) {
    std::filesystem::create_symlink(kPrecious, kFile);
    give_folder_away();
    EXPECT_TRUE(write_target("new"));
    EXPECT_TRUE(S_ISREG(info_of(kFile).st_mode));
}

TEST_F(BackedUpFile, ReplacesAFileWithASecondNameInAnothersFolder) {
    std::filesystem::create_hard_link(kPrecious, kFile);
    give_folder_away();
    EXPECT_TRUE(write_target("new"));
    EXPECT_EQ("new", file_text(kFile));
}

TEST_F(BackedUpFile, ReplacesAStrangersFileInAFolderForEverybody) {
    ASSERT_EQ(0, ::chmod(kFolder, 01777));
    ASSERT_TRUE(write_text(kFile, "planted"));
    const struct stat before = info_of(kFile);
    give_to_another_user({kFile});
    EXPECT_TRUE(write_target("new"));
    EXPECT_NE(before.st_ino, info_of(kFile).st_ino);
    EXPECT_EQ(0600u, mode_of(kFile));
}

TEST_F(BackedUpFile, IsNotWrittenInThePlaceOfAFolder) {
    std::filesystem::create_directory(kFile);
    give_folder_away();
    EXPECT_FALSE(backed_up_file::open_target(kFile));
    EXPECT_EQ(EEXIST, errno);
}

TEST_F(BackedUpFile, GoesToTheOwnerOfTheFolder) {
    give_folder_away();
    uid_t owner = 0;
    doubles::libc::fchown.stand_in([&owner](int, uid_t user, gid_t) {
        owner = user;
        errno = EPERM;
        return -1;
    });
    EXPECT_TRUE(write_target("new"));
    EXPECT_EQ(kAnotherUser, owner);
}

TEST_F(BackedUpFile, IsNotWrittenInAFolderOfWhichNothingIsKnown) {
    fail_second_look_at_folder();
    EXPECT_FALSE(backed_up_file::open_target(kFile));
    EXPECT_EQ(EIO, errno);
}

TEST_F(BackedUpFile, ThatCanNotBeEmptiedIsReplaced) {
    ASSERT_TRUE(write_text(kFile, "an older text"));
    give_to_another_user({kFolder, kFile});
    doubles::libc::ftruncate.fail(EPERM);
    EXPECT_TRUE(write_target("new"));
    EXPECT_EQ("new", file_text(kFile));
}

TEST_F(BackedUpFile, IsRemovedWhoeverOwnsTheFolder) {
    for (const bool is_given : {false, true}) {
        ASSERT_TRUE(write_text(kFile, "text"));
        if (is_given) {
            give_folder_away();
        }
        backed_up_file::remove_target(kFile);
        EXPECT_FALSE(std::filesystem::exists(kFile));
    }
}

TEST_F(BackedUpFile, ThatIsMissingIsRemovedAlready) {
    backed_up_file::remove_target(kFile);
    backed_up_file::remove_target("/m_data/usr/missing/file");
    EXPECT_FALSE(std::filesystem::exists(kFile));
}

class GivenFolder : public BackedUpFile {
  protected:
    static std::set<uid_t> owners_after_making(const char *path) {
        std::set<uid_t> owners;
        doubles::libc::fchown.stand_in([&owners](int, uid_t user, gid_t) {
            owners.insert(user);
            return 0;
        });
        backed_up_file::give_new_folder_away(path);
        return owners;
    }
};

TEST_F(GivenFolder, BelongsToTheOwnerOfTheOneAbove) {
    std::filesystem::create_directory(kFile);
    EXPECT_TRUE(owners_after_making(kFile).empty());
    give_folder_away();
    EXPECT_EQ(std::set<uid_t>{kAnotherUser}, owners_after_making(kFile));
}

/* One that was moved to the name of the new folder. */
TEST_F(GivenFolder, ThatIsNotEmptyGoesToNobody) {
    std::filesystem::create_directory(kFile);
    ASSERT_TRUE(write_text(std::string(kFile) + "/precious", "precious"));
    give_folder_away();
    EXPECT_TRUE(owners_after_making(kFile).empty());
}

TEST_F(GivenFolder, ThatIsALinkOrMissingGoesToNobody) {
    give_folder_away();
    EXPECT_TRUE(owners_after_making(kFile).empty());
    std::filesystem::create_symlink(kElsewhere, kFile);
    EXPECT_TRUE(owners_after_making(kFile).empty());
    EXPECT_TRUE(owners_after_making("/m_data/usr/missing/folder").empty());
}

}  // namespace
