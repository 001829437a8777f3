#include "os_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/temp_folder.h"
#include "support/threads.h"

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

void fail_to_start(int cause) {
    doubles::libc::posix_spawn.stand_in([cause](pid_t *, const char *, const posix_spawn_file_actions_t *,
                                                const posix_spawnattr_t *, char *const *,
                                                char *const *) { return cause; });
}

int lowest_free_descriptor() {
    const int fd = dup(STDERR_FILENO);
    close(fd);
    return fd;
}

/* Descriptors 0 and 1 are free meanwhile, so that a pipe gets them. */
class StandardDescriptorsClosed {
  public:
    StandardDescriptorsClosed() : input_(dup(STDIN_FILENO)), output_(dup(STDOUT_FILENO)) {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
    }
    ~StandardDescriptorsClosed() {
        dup2(input_, STDIN_FILENO);
        dup2(output_, STDOUT_FILENO);
        close(input_);
        close(output_);
    }
    StandardDescriptorsClosed(const StandardDescriptorsClosed &) = delete;
    StandardDescriptorsClosed &operator=(const StandardDescriptorsClosed &) = delete;

  private:
    const int input_;
    const int output_;
};

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
    for (const int cause : {EAGAIN, ENOMEM}) {
        fail_to_start(cause);
        errno = 0;
        EXPECT_EQ(-1, os_system("true"));
        EXPECT_EQ(cause, errno);
    }
}

TEST_F(OsProcess, AMissingShellCountsAsAShellThatEndedWith127) {
    fail_to_start(ENOENT);
    const int status = os_system("true");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(127, WEXITSTATUS(status));
}

TEST_F(OsProcess, ACommandRunsWithoutAnEnvironment) {
    char **const before = environ;
    environ = nullptr;
    const int32_t status = os_system("test -z \"$HOME\"");
    environ = before;
    EXPECT_EQ(0, status);
}

TEST_F(OsProcess, AnInterruptedWaitGoesOn) {
    doubles::libc::waitpid.stand_in([](pid_t pid, int *status, int options) {
        if (doubles::libc::waitpid.calls() < 3) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::waitpid.real(pid, status, options);
    });
    EXPECT_EQ(0, os_system("true"));
    EXPECT_EQ(3u, doubles::libc::waitpid.calls());
}

TEST_F(OsProcess, RefusesANullCommand) {
    EXPECT_EQ(-1, os_system(nullptr));
    EXPECT_EQ(0u, doubles::libc::posix_spawn.calls());
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
    doubles::libc::pipe2.fail(EMFILE);
    EXPECT_EQ(nullptr, os_popen("true", "r"));
    EXPECT_EQ(EMFILE, errno);
}

TEST_F(OsProcess, AFailedPipeLeavesNothingOpen) {
    const int before = lowest_free_descriptor();

    fail_to_start(EAGAIN);
    EXPECT_EQ(nullptr, os_popen("true", "r"));
    EXPECT_EQ(EAGAIN, errno);
    doubles::libc::posix_spawn.restore();

    doubles::libc::fdopen.fail(ENOMEM);
    EXPECT_EQ(nullptr, os_popen("true", "r"));
    EXPECT_EQ(ENOMEM, errno);
    doubles::libc::fdopen.restore();

    doubles::libc::calloc.fail(ENOMEM);
    EXPECT_EQ(nullptr, os_popen("true", "r"));
    doubles::libc::calloc.restore();

    EXPECT_EQ(before, lowest_free_descriptor());
}

TEST_F(OsProcess, ClosesAStreamOfAnotherOriginAndSaysSo) {
    const int before = lowest_free_descriptor();
    FILE *stream = fopen("/dev/null", "r");
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ(-1, os_pclose(stream));
    EXPECT_EQ(ECHILD, errno);
    EXPECT_EQ(before, lowest_free_descriptor());
}

TEST_F(OsProcess, PipesMayBeClosedInAnyOrder) {
    FILE *streams[4] = {};
    for (int i = 0; i < 4; ++i) {
        streams[i] = os_popen(("exit " + std::to_string(i)).c_str(), "r");
        ASSERT_NE(nullptr, streams[i]);
    }
    for (const int i : {2, 0, 3, 1}) {
        EXPECT_EQ(i, WEXITSTATUS(os_pclose(streams[i])));
    }
}

TEST_F(OsProcess, ThreadsMayRunCommandsAtTheSameTime) {
    std::atomic<int> right{0};
    run_in_threads(8, [&right](size_t number) {
        const int id = static_cast<int>(number);
        const std::string command = "exit " + std::to_string(id);
        for (int round = 0; round < 5; ++round) {
            FILE *stream = os_popen(command.c_str(), round % 2 == 0 ? "r" : "w");
            right += WEXITSTATUS(os_system(command.c_str())) == id ? 1 : 0;
            right += WEXITSTATUS(os_pclose(stream)) == id ? 1 : 0;
        }
    });
    EXPECT_EQ(80, right);
}

TEST_F(OsProcess, APipeWorksWithoutStandardInputAndOutput) {
    const StandardDescriptorsClosed closed;
    FILE *stream = os_popen("echo out", "r");
    const std::string out = stream != nullptr ? read_all(stream) : "no pipe";
    const int read_status = os_pclose(stream);
    stream = os_popen("read word; test \"$word\" = in", "w");
    const bool written = stream != nullptr && fputs("in\n", stream) >= 0;
    const int write_status = os_pclose(stream);
    EXPECT_EQ("out\n", out);
    EXPECT_EQ(0, read_status);
    EXPECT_TRUE(written);
    EXPECT_EQ(0, write_status);
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
    EXPECT_EQ(0u, doubles::libc::posix_spawn.calls());
}
