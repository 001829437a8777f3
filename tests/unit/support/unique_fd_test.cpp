/*
 * The owners of descriptors and streams.
 */
#include "support/unique_fd.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "doubles/libc_doubles.h"

namespace {

int open_null() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

/* A handle whose release is recorded and spoils errno. */
struct Spy {
    using Handle = int;
    static constexpr Handle kNone = -1;
    static void release(Handle handle) {
        released += std::to_string(handle) + " ";
        errno = ENOTTY;
    }
    static std::string released;
};

std::string Spy::released;

class OwnedTest : public ::testing::Test {
  protected:
    OwnedTest() { Spy::released.clear(); }
};

}  // namespace

TEST_F(OwnedTest, HoldsNothingAtFirst) {
    {
        const Owned<Spy> owner;
        EXPECT_FALSE(owner);
        EXPECT_EQ(owner.get(), -1);
    }
    EXPECT_EQ(Spy::released, "");
}

TEST_F(OwnedTest, ReleasesAtTheEndOfItsScope) {
    {
        const Owned<Spy> owner(7);
        EXPECT_TRUE(owner);
        EXPECT_EQ(owner.get(), 7);
    }
    EXPECT_EQ(Spy::released, "7 ");
}

TEST_F(OwnedTest, HandsTheHandleOver) {
    {
        Owned<Spy> owner(7);
        EXPECT_EQ(owner.take(), 7);
        EXPECT_FALSE(owner);
    }
    EXPECT_EQ(Spy::released, "");
}

TEST_F(OwnedTest, ReleasesTheOldHandleWhenItGetsANewOne) {
    Owned<Spy> owner(7);
    owner.reset(8);
    EXPECT_EQ(Spy::released, "7 ");
    EXPECT_EQ(owner.get(), 8);
}

TEST_F(OwnedTest, MayBeEmptiedTwice) {
    Owned<Spy> owner(7);
    owner.reset();
    owner.reset();
    EXPECT_EQ(Spy::released, "7 ");
}

TEST_F(OwnedTest, MovesItsHandle) {
    {
        Owned<Spy> first(7);
        const Owned<Spy> second(std::move(first));
        EXPECT_EQ(second.get(), 7);
    }
    EXPECT_EQ(Spy::released, "7 ");
}

TEST_F(OwnedTest, ReleasesTheOldHandleWhenItIsAssigned) {
    Owned<Spy> first(7);
    Owned<Spy> second(8);
    second = std::move(first);
    EXPECT_EQ(Spy::released, "8 ");
    EXPECT_EQ(second.get(), 7);
}

TEST_F(OwnedTest, CanNotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Owned<Spy>>);
    EXPECT_FALSE(std::is_copy_assignable_v<Owned<Spy>>);
}

TEST_F(OwnedTest, KeepsErrnoWhileItReleases) {
    Owned<Spy> owner(7);
    errno = EPIPE;
    owner.reset();
    EXPECT_EQ(errno, EPIPE);
}

TEST(UniqueFd, ClosesItsDescriptor) {
    const int fd = open_null();
    ASSERT_TRUE(is_open(fd));
    { const UniqueFd owner(fd); }
    EXPECT_FALSE(is_open(fd));
}

TEST(UniqueFd, TakesDescriptorZeroForADescriptor) {
    UniqueFd owner(0);
    EXPECT_TRUE(owner);
    EXPECT_EQ(owner.take(), 0);
}

TEST(UniqueFile, ClosesItsStream) {
    const int fd = open_null();
    { const UniqueFile owner(fdopen(fd, "re")); }
    EXPECT_FALSE(is_open(fd));
}

TEST(OpenStream, OwnsTheDescriptorFromThenOn) {
    const int fd = open_null();
    {
        const UniqueFile file = open_stream(UniqueFd(fd), "re");
        ASSERT_TRUE(file);
        EXPECT_EQ(fileno(file.get()), fd);
    }
    EXPECT_FALSE(is_open(fd));
}

TEST(OpenStream, ClosesADescriptorThatGetsNoStream) {
    const int fd = open_null();
    doubles::libc::fdopen.fail(ENOMEM);
    EXPECT_FALSE(open_stream(UniqueFd(fd), "re"));
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_FALSE(is_open(fd));
    doubles::restore_all();
}

TEST(OpenStream, MakesNoStreamOfNothing) {
    doubles::restore_all();
    EXPECT_FALSE(open_stream(UniqueFd(), "re"));
    EXPECT_EQ(doubles::libc::fdopen.calls(), 0u);
}
