/*
 * Resolving paths, and which of them another user could change.
 */
#include "frwk_dbrm/files/trusted_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/wait_until.h"
#include "unit/frwk_dbrm/another_user.h"

namespace {

constexpr char kFolder[] = "/m_data/usr/path";

class TrustedPath : public testing::Test {
  protected:
    TrustedPath() {
        doubles::restore_all();
        std::filesystem::remove_all(kFolder);
        make_folder(kFolder);
        make_folder(in("a"));
        make_folder(in("a/b"));
        EXPECT_TRUE(write_text(in("file"), "text"));
    }
    ~TrustedPath() override {
        doubles::restore_all();
        std::filesystem::current_path("/");
        std::filesystem::remove_all(kFolder);
    }

    static std::string in(const std::string &name) { return std::string(kFolder) + "/" + name; }

    static void make_folder(const std::string &path) {
        ::mkdir(path.c_str(), 0755);
        set_mode(path, 0755);
    }
    static void set_mode(const std::string &path, mode_t mode) { EXPECT_EQ(0, ::chmod(path.c_str(), mode)); }
    static void link(const std::string &to, const std::string &name) {
        std::filesystem::create_symlink(to, in(name));
    }

    bool find(const std::string &path, LastLink last = LastLink::kKeep) {
        place_ = Place();
        return find_place(path.c_str(), last, &place_);
    }

    void expect_place(const std::string &folder, const std::string &name, const std::string &path,
                      LastLink last = LastLink::kKeep) {
        ASSERT_TRUE(find(path, last)) << path << ": " << errno;
        EXPECT_EQ(folder,
                  std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(place_.folder.get())));
        EXPECT_EQ(name, place_.name) << path;
    }

    void expect_no_place(int error, const std::string &path, LastLink last = LastLink::kKeep) {
        EXPECT_FALSE(find(path, last)) << path;
        EXPECT_EQ(error, errno) << path;
        EXPECT_FALSE(place_.folder);
    }

    void expect_closed(bool closed, const std::string &path) {
        ASSERT_TRUE(find(path)) << path << ": " << errno;
        EXPECT_EQ(closed, place_.is_closed) << path;
    }

    Place place_;
};

TEST_F(TrustedPath, LeadsToAFolderAndAName) {
    expect_place(in("a"), "name", in("a/name"));
    expect_place(in("a"), "name", in("a//../a/./name"));
    expect_place("/", "name", "/name");
    expect_place("/", "name", "//name");
    EXPECT_FALSE(place_.is_behind_a_link);
}

TEST_F(TrustedPath, MayBeginInTheWorkingFolder) {
    std::filesystem::current_path(in("a"));
    expect_place(in("a"), "name", "name");
    expect_place(in("a/b"), "name", "b/name");
    expect_place(kFolder, "name", "../name");
    EXPECT_TRUE(place_.is_closed);
}

TEST_F(TrustedPath, HoldsTheFolderWhereverItIsMoved) {
    ASSERT_TRUE(find(in("a/name")));
    std::filesystem::rename(in("a"), in("moved"));
    EXPECT_EQ(0, ::faccessat(place_.folder.get(), "b", F_OK, 0));
}

TEST_F(TrustedPath, OfNothingIsNone) {
    expect_no_place(ENOENT, "");
    expect_no_place(ENOENT, in("missing/name"));
    expect_no_place(ENOTDIR, in("file/name"));
}

TEST_F(TrustedPath, NeedsANameAtItsEnd) {
    expect_no_place(EISDIR, "/");
    expect_no_place(EISDIR, in("a/"));
}

TEST_F(TrustedPath, HasNamesAndALengthThatTheSystemKnows) {
    expect_place(kFolder, std::string(NAME_MAX, 'n'), in(std::string(NAME_MAX, 'n')));
    expect_no_place(ENAMETOOLONG, in(std::string(NAME_MAX + 1, 'n')));
    expect_no_place(ENAMETOOLONG, std::string(PATH_MAX, '/'));
    expect_no_place(ENOENT, std::string(PATH_MAX - 10, '/') + "none/../x");
}

TEST_F(TrustedPath, FollowsLinksOnTheWay) {
    link(in("a"), "absolute");
    link("a/b", "relative");
    link("absolute/../relative", "both");
    expect_place(in("a"), "name", in("absolute/name"));
    expect_place(in("a/b"), "name", in("relative/name"));
    expect_place(in("a/b"), "name", in("both/name"));
    EXPECT_TRUE(place_.is_closed);
    EXPECT_FALSE(place_.is_behind_a_link);
}

TEST_F(TrustedPath, FollowsALinkAtItsEndWhenAsked) {
    link(in("a/file"), "first");
    link("first", "second");
    expect_place(kFolder, "second", in("second"));
    EXPECT_FALSE(place_.is_behind_a_link);
    expect_place(in("a"), "file", in("second"), LastLink::kFollow);
    EXPECT_TRUE(place_.is_behind_a_link);
    EXPECT_TRUE(place_.is_closed);
    expect_place(kFolder, "file", in("file"), LastLink::kFollow);
    expect_place(kFolder, "missing", in("missing"), LastLink::kFollow);
    EXPECT_FALSE(place_.is_behind_a_link);
}

TEST_F(TrustedPath, GoesRoundNoLoop) {
    link("loop", "loop");
    expect_no_place(ELOOP, in("loop/name"));
    expect_no_place(ELOOP, in("loop"), LastLink::kFollow);
}

TEST_F(TrustedPath, MayBecomeTooLongByALink) {
    link(std::string(PATH_MAX - 100, '/') + "m_data", "long");
    expect_no_place(ENOENT, in("long/none/name"));
    expect_no_place(ENAMETOOLONG, in("long/" + std::string(100, 'n')));
}

TEST_F(TrustedPath, IsClosedWhereNobodyElseWrites) {
    expect_closed(true, in("a/name"));
    for (const mode_t mode : {0700u, 0555u, 01755u}) {
        set_mode(in("a"), mode);
        expect_closed(true, in("a/name"));
    }
    for (const mode_t mode : {0775u, 0757u, 0777u, 01777u}) {
        set_mode(in("a"), mode);
        expect_closed(false, in("a/name"));
    }
}

TEST_F(TrustedPath, KeepsTheCallersFilesInAStickyFolder) {
    for (const mode_t mode : {0755u, 01777u}) {
        set_mode(in("a"), mode);
        ASSERT_TRUE(find(in("a/name")));
        EXPECT_TRUE(place_.keeps_ours);
    }
    set_mode(in("a"), 0777);
    ASSERT_TRUE(find(in("a/name")));
    EXPECT_FALSE(place_.keeps_ours);
    set_mode(in("a"), 01777);
    give_to_another_user({in("a")});
    ASSERT_TRUE(find(in("a/name")));
    EXPECT_FALSE(place_.keeps_ours);
    give_to_another_user({kFolder});
    ASSERT_TRUE(find(in("a/name")));
    EXPECT_FALSE(place_.keeps_ours);
}

TEST_F(TrustedPath, IsNotClosedInOrBelowAnothersFolder) {
    give_to_another_user({in("a")});
    expect_closed(false, in("a/name"));
    expect_closed(false, in("a/b/name"));
    expect_closed(false, in("a/../name"));
    expect_closed(true, in("name"));
}

TEST_F(TrustedPath, BelowAStickyFolderIsClosedForItsOwner) {
    set_mode(kFolder, 01777);
    expect_closed(true, in("a/name"));
    give_to_another_user({in("a")});
    expect_closed(false, in("a/b/name"));
    give_to_another_user({kFolder});
    expect_closed(false, in("a/name"));
}

TEST_F(TrustedPath, BelowAFolderForAllIsNotClosed) {
    set_mode(kFolder, 0777);
    expect_closed(false, in("a/name"));
}

TEST_F(TrustedPath, FollowsNoLinkOfAnother) {
    link("a", "linked");
    set_mode(kFolder, 0777);
    expect_no_place(ELOOP, in("linked/name"));
    set_mode(kFolder, 01777);
    expect_place(in("a"), "name", in("linked/name"));
    give_to_another_user({in("linked")});
    expect_no_place(ELOOP, in("linked/name"));
    give_to_another_user({kFolder});
    expect_no_place(ELOOP, in("linked/name"));
}

TEST_F(TrustedPath, FollowsNoLinkAtTheEndThatAnotherCouldChange) {
    link("a/file", "linked");
    for (const mode_t mode : {0777u, 01777u}) {
        set_mode(kFolder, mode);
        expect_place(kFolder, "linked", in("linked"), LastLink::kFollow);
        EXPECT_FALSE(place_.is_closed);
        EXPECT_FALSE(place_.is_behind_a_link);
    }
}

TEST_F(TrustedPath, InAWorkingFolderThatAnotherCanMoveIsNotClosed) {
    std::filesystem::current_path(in("a/b"));
    expect_closed(true, "name");
    give_to_another_user({in("a")});
    expect_closed(false, "name");
    expect_closed(true, in("name"));
}

/* Each look at a folder takes an openat and an fstat. */
TEST_F(TrustedPath, InAWorkingFolderOfWhichNothingIsKnownIsNotClosed) {
    std::filesystem::current_path(in("a"));
    for (const unsigned which : {1u, 2u}) {
        doubles::restore_all();
        doubles::libc::openat.fail_call(which, EIO);
        expect_closed(false, "name");
    }
}

TEST_F(TrustedPath, OfWhichNothingIsKnownIsNone) {
    doubles::libc::fstat.fail(EIO);
    expect_no_place(EIO, in("name"));
}

TEST_F(TrustedPath, WithALinkThatCannotBeReadIsNone) {
    link("a", "linked");
    doubles::libc::readlinkat.fail(EIO);
    expect_no_place(EIO, in("linked/name"));
}

}  // namespace
