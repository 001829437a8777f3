/*
 * A process forks while another thread is in the base library: the child can use the library.
 */
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>

#include "os_log.h"
#include "os_process.h"
#include "support/child.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"
#include "unit/base/log_channels_fixture.h"

namespace {

/* Far more than a child needs unless it hangs. */
constexpr unsigned kChildSeconds = 60;

void write_line() {
    os_debug_print(OS_LOG_WARNING, "f", "f", 1, "line of %d", static_cast<int>(getpid()));
}

bool ignores_interrupt() {
    struct sigaction action = {};
    sigaction(SIGINT, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

using ForkedChildOfALogger = LogChannelsTest;

/* The writing thread continues for a while after the start of the fork, which waits for it. */
TEST_F(ForkedChildOfALogger, WritesItsLineThoughAnotherThreadIsWritingOne) {
    std::atomic<bool> writing{false};
    std::atomic<bool> forking{false};
    doubles::libc::write.stand_in([&, parent = getpid()](int, const void *, size_t size) {
        if (getpid() == parent) {
            writing = true;
            EXPECT_TRUE(wait_until([&] { return forking.load(); }));
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
        return static_cast<ssize_t>(size);
    });
    std::thread writer(write_line);
    EXPECT_TRUE(wait_until([&] { return writing.load(); }));
    forking = true;
    const ChildEnd end = run_in_child([] {
        doubles::libc::write.restore();
        alarm(kChildSeconds);
        write_line();
        return std::string("written");
    });
    writer.join();
    EXPECT_EQ("written", end.report);
    EXPECT_NE(std::string::npos, end.errors.find("line of ")) << end.errors;
}

/* Interrupts are ignored while a thread waits for its command; the child has no such thread. */
TEST(ForkedChild, IsInterruptedThoughItsParentWaitsForACommand) {
    const TempFolder folder;
    const std::string gate = folder.path("gate");
    std::thread waiting([&gate] { os_system(("until test -e " + gate + "; do sleep 0.01; done").c_str()); });
    EXPECT_TRUE(wait_until(ignores_interrupt));

    const ChildEnd end = run_in_child([] {
        alarm(kChildSeconds);
        const std::string before = ignores_interrupt() ? "ignored" : "taken";
        return before + " " + std::to_string(os_system("kill -INT $$"));
    });
    EXPECT_EQ("taken " + std::to_string(SIGINT), end.report);
    EXPECT_TRUE(ignores_interrupt());

    EXPECT_TRUE(write_text(gate, ""));
    waiting.join();
    EXPECT_FALSE(ignores_interrupt());
}

TEST(ForkedChild, HasNoWaitForThePipesOfItsParent) {
    FILE *stream = os_popen("cat", "w");
    ASSERT_NE(nullptr, stream);
    const ChildEnd end = run_in_child([stream] {
        const int result = os_pclose(stream);
        return std::to_string(result) + " " + (errno == ECHILD ? "ECHILD" : "");
    });
    EXPECT_EQ("-1 ECHILD", end.report);
    EXPECT_EQ(0, os_pclose(stream));
}
