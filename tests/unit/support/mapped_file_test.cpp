#include "support/mapped_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/unique_fd.h"

namespace {

constexpr size_t kPage = 4096;

class MappedFileTest : public testing::Test {
  protected:
    UniqueFd make_file(const std::string &content) {
        UniqueFd fd(::open((folder_.path("file")).c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        EXPECT_EQ(static_cast<ssize_t>(content.size()), ::write(fd.get(), content.data(), content.size()));
        return fd;
    }

    /* The status of a child that does something. */
    static int status_of(const std::function<void()> &act) {
        const pid_t child = ::fork();
        if (child == 0) {
            act();
            ::_exit(0);
        }
        int status = -1;
        EXPECT_EQ(child, ::waitpid(child, &status, 0));
        return status;
    }

    /* Reads where a file has been cut, without this library's knowledge. */
    static void fault(int fd) {
        auto *bytes = static_cast<volatile char *>(::mmap(nullptr, kPage, PROT_READ, MAP_SHARED, fd, 0));
        (void)::ftruncate(fd, 0);
        (void)bytes[0];
    }

    TempFolder folder_;
};

TEST_F(MappedFileTest, SharesTheFile) {
    const UniqueFd fd = make_file("text");
    MappedFile memory;
    EXPECT_FALSE(memory);
    ASSERT_TRUE(memory.map(fd.get(), 4, PROT_READ | PROT_WRITE));
    EXPECT_EQ("text", std::string(static_cast<char *>(memory.data()), memory.size()));
    static_cast<char *>(memory.data())[0] = 'n';
    char text[5] = "";
    EXPECT_EQ(4, ::pread(fd.get(), text, 4, 0));
    EXPECT_STREQ("next", text);
    MappedFile other(std::move(memory));
    EXPECT_TRUE(other);
    memory = std::move(other);
    EXPECT_TRUE(memory);
    memory.reset();
    EXPECT_FALSE(memory);
}

TEST_F(MappedFileTest, FailsForWhatIsNoFile) {
    MappedFile memory;
    EXPECT_FALSE(memory.map(-1, kPage, PROT_READ));
    EXPECT_EQ(EBADF, errno);
    EXPECT_FALSE(memory);
}

TEST_F(MappedFileTest, AFileThatIsCutReadsAsZeros) {
    const UniqueFd fd = make_file(std::string(3 * kPage, 'x'));
    MappedFile memory;
    MappedFile other;
    ASSERT_TRUE(memory.map(fd.get(), 3 * kPage, PROT_READ | PROT_WRITE));
    ASSERT_TRUE(other.map(fd.get(), 3 * kPage, PROT_READ));
    ASSERT_EQ(0, ::ftruncate(fd.get(), 0));
    auto *bytes = static_cast<volatile char *>(memory.data());
    EXPECT_EQ('\0', bytes[2 * kPage]);
    EXPECT_EQ('\0', bytes[0]);
    bytes[kPage] = 'y';
    EXPECT_EQ('y', bytes[kPage]);
    EXPECT_EQ('\0', *static_cast<volatile char *>(other.data()));
}

TEST_F(MappedFileTest, MoreMapsThanAreProtectedWork) {
    const UniqueFd fd = make_file("x");
    std::vector<MappedFile> maps(40);
    for (MappedFile &memory : maps) {
        ASSERT_TRUE(memory.map(fd.get(), 1, PROT_READ));
        EXPECT_EQ('x', *static_cast<char *>(memory.data()));
    }
}

TEST_F(MappedFileTest, AnotherFaultEndsTheProcessAsWithoutIt) {
    const UniqueFd fd = make_file(std::string(kPage, 'x'));
    const int status = status_of([&fd] {
        MappedFile memory;
        (void)memory.map(fd.get(), kPage, PROT_READ);
        memory.reset();
        fault(fd.get());
    });
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) != 0) << status; /* a sanitizer exits */
}

/* Each in a process of its own: the first map installs the handler. */
TEST_F(MappedFileTest, AnotherFaultGoesToTheHandlerThatWasThere) {
    const UniqueFd fd = make_file(std::string(kPage, 'x'));
    EXPECT_EQ(3 << 8, status_of([&fd] {
                  (void)::signal(SIGBUS, [](int) { ::_exit(3); });
                  MappedFile memory;
                  (void)memory.map(fd.get(), kPage, PROT_READ);
                  memory.reset();
                  fault(fd.get());
              }));
    EXPECT_EQ(0, ::ftruncate(fd.get(), kPage));
    EXPECT_EQ(4 << 8, status_of([&fd] {
                  struct sigaction action = {};
                  action.sa_sigaction = [](int, siginfo_t *, void *) { ::_exit(4); };
                  action.sa_flags = SA_SIGINFO;
                  (void)::sigaction(SIGBUS, &action, nullptr);
                  MappedFile memory;
                  (void)memory.map(fd.get(), kPage, PROT_READ);
                  memory.reset();
                  fault(fd.get());
              }));
}

}  // namespace
