#include "device/access_words.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "support/other_user.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

namespace fs = std::filesystem;

std::string own_name() {
    const passwd *entry = ::getpwuid(::geteuid());
    return entry != nullptr ? entry->pw_name : std::to_string(::geteuid());
}

/* What is said of a place of the test's own. */
std::string own_place(const std::string &path, const std::string &mode) {
    return "no access to " + path + " (owner " + own_name() + ", mode " + mode + "; try 'chmod u+rwX " +
           path + "')";
}

TEST(AccessWords, NameTheFileItsOwnerItsModeAndTheCommand) {
    const TempFolder folder;
    const std::string path = folder.file("closed", "");
    fs::permissions(path, fs::perms::none);
    EXPECT_EQ(own_place(path, "0000"), access_words(path));
    EXPECT_EQ("can't read it: " + own_place(path, "0000"), failure_text("can't read it", path, EACCES));
}

TEST(AccessWords, NameTheFolderThatIsClosed) {
    const TempFolder folder;
    const std::string closed = folder.path("closed");
    fs::create_directories(closed);
    fs::permissions(closed, fs::perms::none);
    const ModesHold unprivileged;
    EXPECT_EQ(own_place(closed, "0000"), access_words(closed + "/inner/file"));
    EXPECT_EQ(own_place(closed, "0000"), creation_problem(closed + "/inner/file"));
}

TEST(AccessWords, NameTheFolderInWhichNothingCanBeCreated) {
    const TempFolder folder;
    const std::string closed = folder.path("closed");
    fs::create_directories(closed);
    fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
    const ModesHold unprivileged;
    EXPECT_EQ(own_place(closed, "0500"), creation_problem(closed + "/new"));
    EXPECT_EQ(own_place(closed, "0500"), creation_problem(closed + "/no/such/folder/new"));
    EXPECT_EQ(own_place(closed, "0500"), access_words(closed + "/new", Access::kCreate));
}

TEST(AccessWords, AreNoneWhereAFileCanBeCreated) {
    const TempFolder folder;
    EXPECT_EQ("", creation_problem(folder.path("new")));
    EXPECT_EQ("", creation_problem(folder.path("no/such/folder/new")));
    EXPECT_EQ("", creation_problem("/no_such_folder_of_the_root_folder_/../../tmp/x"));
}

TEST(AccessWords, NameTheFileThatCanNotBeWritten) {
    const TempFolder folder;
    const std::string path = folder.file("closed", "");
    fs::permissions(path, fs::perms::owner_read);
    const ModesHold unprivileged;
    EXPECT_EQ(own_place(path, "0400"), write_problem(path));
    EXPECT_EQ("", write_problem(folder.file("open", "")));
    EXPECT_EQ("", write_problem(folder.path("new")));
}

TEST(AccessWords, OfAFileThatIsGoneNameItAlone) {
    EXPECT_EQ("no access to /no/file", access_words("/no/file"));
    EXPECT_EQ("no access to no_file_here", access_words("no_file_here"));
}

TEST(AccessWords, AreForNoOtherErrors) {
    EXPECT_EQ("can't read x: Is a directory", failure_text("can't read x", "x", EISDIR));
}

using AccessWordsByAnotherUser = ByAnotherUser<testing::Test>;

TEST_F(AccessWordsByAnotherUser, OfferTheOwnersIdentity) {
    const TempFolder folder;
    const std::string path = folder.file("closed", "");
    ASSERT_EQ(0, ::chown(path.c_str(), kOtherUser, static_cast<gid_t>(-1)));
    fs::permissions(path, fs::perms::owner_read);
    EXPECT_EQ("no access to " + path + " (owner 60001, mode 0400; try 'sudo -u 60001 " +
                  program_invocation_short_name + "')",
              access_words(path));
}

TEST_F(AccessWordsByAnotherUser, OfferRootsIdentityForWhatIsRoots) {
    const TempFolder folder;
    const std::string path = folder.file("closed", "");
    fs::permissions(path, fs::perms::owner_read);
    fs::permissions(folder.path(), fs::perms::all);
    const std::string wanted = "no access to " + path + " (owner " + own_name() + ", mode 0400; try 'sudo " +
                               (::geteuid() == 0 ? "" : "-u " + own_name() + " ") +
                               program_invocation_short_name + "')";
    EXPECT_EQ(0, as_other_user([&] { return access_words(path) == wanted ? 0 : 1; }));
}

}  // namespace
