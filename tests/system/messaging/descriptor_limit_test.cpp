/*
 * A module without a free descriptor, with the real limit of a real process.
 */
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "support/module_process.h"
#include "support/wait_until.h"

namespace {

constexpr char kProbe[] = "sync 3 7 3 0 -";
constexpr char kAnswered[] = "ret=0 result=0";
/* A dropped peer fails as it writes or as it reads, whichever the drop comes before. */
bool is_dropped(const std::string &reply) {
    return reply.rfind("ret=18", 0) == 0 || reply.rfind("ret=19", 0) == 0;
}

std::filesystem::path descriptor_folder(int pid) {
    return "/proc/" + std::to_string(pid) + "/fd";
}

size_t sockets(int pid) {
    size_t count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(descriptor_folder(pid))) {
        std::error_code gone;
        count += std::filesystem::read_symlink(entry.path(), gone).string().rfind("socket:", 0) == 0 ? 1 : 0;
    }
    return count;
}

/* The number that the next descriptor gets, and thus the limit that refuses it. */
rlim_t lowest_free_number(int pid) {
    rlim_t number = 0;
    while (std::filesystem::is_symlink(descriptor_folder(pid) / std::to_string(number))) {
        ++number;
    }
    return number;
}

/*
 * A module that serves and waits for a peer, with a limit that allows no further descriptor. The accept that
 * it waits in has taken its descriptor already, so one more peer is served.
 */
class ShortOfDescriptors : public testing::Test {
  protected:
    ShortOfDescriptors() {
        const size_t idle = sockets(router_.pid());
        EXPECT_EQ(kAnswered, wlan_.ask(kProbe));
        EXPECT_TRUE(wait_until([this, idle] { return sockets(router_.pid()) == idle; }));

        EXPECT_EQ(0, ::prlimit(router_.pid(), RLIMIT_NOFILE, nullptr, &before_));
        rlimit tight = before_;
        tight.rlim_cur = lowest_free_number(router_.pid());
        EXPECT_EQ(0, ::prlimit(router_.pid(), RLIMIT_NOFILE, &tight, nullptr));
        (void)wlan_.ask(kProbe);
    }
    void lift_limit() { EXPECT_EQ(0, ::prlimit(router_.pid(), RLIMIT_NOFILE, &before_, nullptr)); }

    ModuleProcess router_{3};
    ModuleProcess wlan_{5};
    rlimit before_ = {};
};

TEST_F(ShortOfDescriptors, APeerThatComesAfterwardsIsAnswered) {
    lift_limit();
    EXPECT_EQ(kAnswered, wlan_.ask(kProbe));
}

TEST_F(ShortOfDescriptors, APeerThatComesMeanwhileIsDroppedAndTheNextIsAnswered) {
    EXPECT_TRUE(is_dropped(wlan_.ask(kProbe)));
    EXPECT_TRUE(router_.process().wait_for_error("no descriptor left: connections dropped so far: 1"));
    lift_limit();
    EXPECT_EQ(kAnswered, wlan_.ask(kProbe));
}

}  // namespace
