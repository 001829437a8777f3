#include "os_process.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <cerrno>
#include <fstream>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "unit/base/temp_folder.h"

namespace {

class OsProcess : public FaultsTest {};

std::string read_all(FILE *stream) {
    std::string all;
    char part[256];
    size_t got = 0;
    while ((got = fread(part, 1, sizeof(part), stream)) > 0) {
        all.append(part, got);
    }
    return all;
}

}  // namespace

TEST_F(OsProcess, ReturnsTheWaitStatusOfACommand) {
    const int status = os_system("exit 7");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(7, WEXITSTATUS(status));
    EXPECT_EQ(0, os_system("true"));
}

TEST_F(OsProcess, HandsTheTextToTheShellAsItStands) {
    const TempFolder folder;
    const std::string path = folder.path("out");
    EXPECT_EQ(0, os_system(("echo 'a  b' > " + path + " && echo c >> " + path).c_str()));
    std::ifstream file(path);
    EXPECT_EQ("a  b\nc\n", std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(OsProcess, ReturnsMinusOneWhenNoProcessCanBeStarted) {
    doubles::libc::system.stand_in([](const char *) {
        errno = EAGAIN;
        return -1;
    });
    EXPECT_EQ(-1, os_system("true"));
}

TEST_F(OsProcess, RefusesANullCommand) {
    EXPECT_EQ(-1, os_system(nullptr));
    EXPECT_EQ(0u, doubles::libc::system.calls());
}

TEST_F(OsProcess, ReadsTheOutputOfACommand) {
    FILE *stream = os_popen("echo out; exit 3", "r");
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ("out\n", read_all(stream));
    const int status = os_pclose(stream);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(3, WEXITSTATUS(status));
}

TEST_F(OsProcess, FeedsTheInputOfACommand) {
    FILE *stream = os_popen("read word; test \"$word\" = in", "w");
    ASSERT_NE(nullptr, stream);
    EXPECT_LT(0, fputs("in\n", stream));
    EXPECT_EQ(0, os_pclose(stream));
}

TEST_F(OsProcess, ClosesItsPipesOnExec) {
    for (const char *mode : {"r", "w"}) {
        FILE *stream = os_popen("true", mode);
        ASSERT_NE(nullptr, stream);
        EXPECT_EQ(FD_CLOEXEC, fcntl(fileno(stream), F_GETFD));
        EXPECT_EQ(0, os_pclose(stream));
    }
}

TEST_F(OsProcess, PassesOnThatNoPipeCanBeHad) {
    doubles::libc::popen.stand_in([](const char *, const char *) -> FILE * {
        errno = EMFILE;
        return nullptr;
    });
    EXPECT_EQ(nullptr, os_popen("true", "r"));
    EXPECT_EQ(EMFILE, errno);
}

TEST_F(OsProcess, RefusesOtherModesAndNull) {
    for (const char *mode : {"", "rw", "re", "a"}) {
        errno = 0;
        EXPECT_EQ(nullptr, os_popen("true", mode)) << mode;
        EXPECT_EQ(EINVAL, errno) << mode;
    }
    EXPECT_EQ(nullptr, os_popen("true", nullptr));
    EXPECT_EQ(nullptr, os_popen(nullptr, "r"));
    EXPECT_EQ(-1, os_pclose(nullptr));
    EXPECT_EQ(0u, doubles::libc::popen.calls());
}
