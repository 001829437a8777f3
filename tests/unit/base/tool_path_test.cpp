/*
 * The folders of PATH that commands inherit.
 */
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "os/tool_path.h"
#include "support/other_user.h"

namespace libc = doubles::libc;

namespace {

constexpr char kDefault[] = "/usr/sbin:/usr/bin:/sbin:/bin";
constexpr char kRoom[] = "/m_data/usr/paths";

std::string safe(const char *path) {
    std::string text(safe_path_size(path), '#');
    write_safe_path(path, text.data());
    return text.c_str();
}

std::string safe(const std::string &path) {
    return safe(path.c_str());
}

class ToolPath : public testing::Test {
  protected:
    ToolPath() { make(""); }
    ~ToolPath() override {
        doubles::restore_all();
        std::filesystem::remove_all(kRoom);
    }

    /* Makes a folder below the room, and returns its path. */
    static std::string make(const std::string &name, mode_t mode = 0755) {
        const std::string path = kRoom + name;
        EXPECT_EQ(0, mkdir(path.c_str(), mode)) << path;
        EXPECT_EQ(0, chmod(path.c_str(), mode)) << path;
        return path;
    }
};

using ToolPathByAnotherUser = ByAnotherUser<ToolPath>;

}  // namespace

TEST_F(ToolPath, SafeFoldersStayInTheirOrder) {
    const std::string b = make("/b");
    const std::string a = make("/a");
    EXPECT_EQ(b + ":" + a, safe(b + ":" + a));
    EXPECT_EQ(a, safe(a));
}

TEST_F(ToolPath, WithoutAnyThereIsTheDefault) {
    EXPECT_EQ(kDefault, safe(static_cast<const char *>(nullptr)));
    EXPECT_EQ(kDefault, safe(""));
    EXPECT_EQ(kDefault, safe(":"));
    EXPECT_EQ(kDefault, safe("bin"));
}

TEST_F(ToolPath, RelativeAndEmptyFoldersAreDropped) {
    const std::string a = make("/a");
    for (const std::string &path : {"." + (":" + a), ":" + a, a + ":", a + "::", "bin:" + a + ":../bin"}) {
        EXPECT_EQ(a, safe(path)) << path;
    }
}

TEST_F(ToolPath, WhatIsNoFolderIsDropped) {
    const std::string a = make("/a");
    EXPECT_EQ(a, safe(kRoom + std::string("/missing:") + a + ":/etc/passwd:/dev/null"));
    EXPECT_EQ(a, safe("/" + std::string(PATH_MAX, 'x') + ":" + a));
}

TEST_F(ToolPath, FoldersThatOthersCanWriteToAreDropped) {
    const std::string a = make("/a");
    const std::string open = make("/open", 0777);
    const std::string group = make("/group", 0775);
    const std::string sticky = make("/sticky", 01777);
    EXPECT_EQ(a, safe(open + ":" + group + ":" + sticky + ":" + a));
}

TEST_F(ToolPath, FoldersThatOthersCanReplaceAreDropped) {
    const std::string a = make("/a");
    (void)make("/open", 0777);
    const std::string inside = make("/open/bin");
    EXPECT_EQ(a, safe(inside + ":" + a));
}

TEST_F(ToolPath, AStickyFolderKeepsWhatLiesInIt) {
    (void)make("/sticky", 01777);
    const std::string inside = make("/sticky/bin");
    EXPECT_EQ(inside, safe(inside));
}

TEST_F(ToolPath, ALinkIsAsSafeAsWhatItLeadsTo) {
    const std::string a = make("/a");
    (void)make("/open", 0777);
    const std::string inside = make("/open/bin");
    const std::string good = std::string(kRoom) + "/good";
    const std::string bad = std::string(kRoom) + "/bad";
    ASSERT_EQ(0, symlink(a.c_str(), good.c_str()));
    ASSERT_EQ(0, symlink(inside.c_str(), bad.c_str()));
    EXPECT_EQ(good, safe(bad + ":" + good));
}

TEST_F(ToolPath, ALinkThatOthersCanReplaceIsDropped) {
    const std::string a = make("/a");
    (void)make("/open", 0777);
    const std::string link = std::string(kRoom) + "/open/link";
    ASSERT_EQ(0, symlink(a.c_str(), link.c_str()));
    EXPECT_EQ(a, safe(link + ":" + a));
    EXPECT_EQ(a, safe(a + "/../open/link:" + a));
}

TEST_F(ToolPath, ALinkByWayOfOneThatOthersCanReplaceIsDropped) {
    const std::string a = make("/a");
    (void)make("/open", 0777);
    const std::string replaceable = std::string(kRoom) + "/open/link";
    const std::string link = std::string(kRoom) + "/link";
    ASSERT_EQ(0, symlink(a.c_str(), replaceable.c_str()));
    ASSERT_EQ(0, symlink("open/link", link.c_str()));
    EXPECT_EQ(a, safe(link + ":" + a));
}

TEST_F(ToolPath, ALinkInAFoldersPathIsFollowed) {
    const std::string inside = make("/a") + "/bin";
    (void)make("/a/bin");
    const std::string link = std::string(kRoom) + "/link";
    ASSERT_EQ(0, symlink("a", link.c_str()));
    EXPECT_EQ(link + "/bin", safe(link + "/bin"));
    EXPECT_EQ(link + "//bin/", safe(link + "//bin/"));
    EXPECT_EQ(inside, safe(link + "/missing:" + inside));
}

TEST_F(ToolPath, ALinkThatLeadsNowhereIsDropped) {
    const std::string a = make("/a");
    const std::string circle = std::string(kRoom) + "/circle";
    const std::string too_long = std::string(kRoom) + "/long";
    const std::string rest(600, '/');
    ASSERT_EQ(0, symlink("circle", circle.c_str()));
    ASSERT_EQ(0, symlink((a + std::string(1100, '/')).c_str(), too_long.c_str()));
    EXPECT_EQ(a, safe(circle + ":" + too_long + ":" + a));

    const std::string long_with_rest = std::string(kRoom) + "/rest";
    ASSERT_EQ(0, symlink((a + rest).c_str(), long_with_rest.c_str()));
    EXPECT_EQ(long_with_rest, safe(long_with_rest));
    EXPECT_EQ(a, safe(long_with_rest + rest + ":" + a));
}

TEST_F(ToolPathByAnotherUser, AnotherUsersFolderIsDroppedAndWhatLiesInItToo) {
    const std::string a = make("/a");
    const std::string theirs = make("/theirs");
    const std::string inside = make("/theirs/bin");
    ASSERT_EQ(0, chown(theirs.c_str(), kOtherUser, kOtherUser));
    EXPECT_EQ(a, safe(theirs + ":" + inside + ":" + a));
}

TEST_F(ToolPathByAnotherUser, AnotherUsersLinkIsDropped) {
    const std::string a = make("/a");
    (void)make("/sticky", 01777);
    const std::string link = std::string(kRoom) + "/sticky/link";
    ASSERT_EQ(0, symlink(a.c_str(), link.c_str()));
    EXPECT_EQ(link, safe(link));
    ASSERT_EQ(0, lchown(link.c_str(), kOtherUser, kOtherUser));
    EXPECT_EQ(a, safe(link + ":" + link + "/:" + a));
}

TEST_F(ToolPath, AFolderByTheNameOfAProcessIsDropped) {
    const std::string a = make("/a");
    const std::string link = std::string(kRoom) + "/working_folder";
    ASSERT_EQ(0, symlink("/proc/self/cwd", link.c_str()));
    EXPECT_EQ(a, safe("/proc/self/cwd:/./proc/self/root/usr/bin:" + link + ":" + a));
}

/* The kind of the file system counts, wherever it is mounted. */
TEST_F(ToolPath, ALinkInAnyFileSystemOfProcessesIsDropped) {
    const std::string a = make("/a");
    const std::string processes = make("/processes");
    const std::string link = processes + "/working_folder";
    ASSERT_EQ(0, symlink(a.c_str(), link.c_str()));
    EXPECT_EQ(link + ":" + a, safe(link + ":" + a));
    libc::statfs.stand_in([&processes](const char *path, struct ::statfs *found) {
        const int result = libc::statfs.real(path, found);
        if (std::string(path).rfind(processes, 0) == 0) {
            found->f_type = PROC_SUPER_MAGIC;
        }
        return result;
    });
    EXPECT_EQ(a, safe(link + ":" + a));
}

TEST_F(ToolPath, ALinkInAnUnknownFileSystemIsDropped) {
    const std::string a = make("/a");
    const std::string link = std::string(kRoom) + "/link";
    ASSERT_EQ(0, symlink(a.c_str(), link.c_str()));
    libc::statfs.fail(EIO);
    EXPECT_EQ(a, safe(link + ":" + a));
}

TEST_F(ToolPath, TheDevicesOwnFoldersAreSafe) {
    EXPECT_EQ("/usr/bin:/bin", safe("/usr/bin:/bin"));
}
