/*
 * The database as the service of a manager that expects reports: ready, alive, stopping.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "frwk_common.h"
#include "support/notify_socket.h"
#include "system/messaging/raw_peer.h"
#include "system/zndb/zndb_process.h"

namespace {

using namespace std::chrono_literals;

constexpr char kManager[] = "/tmp/m_tmp/manager";
constexpr uint32_t kLargeRoom = 4 * 1024 * 1024;

size_t threads_of(pid_t pid) {
    const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(pid) + "/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

class ZndbManager : public ZndbTest {
  protected:
    ZndbManager() { environment_ = {std::string("NOTIFY_SOCKET=") + kManager}; }

    void start_with_watchdog() {
        environment_.emplace_back("WATCHDOG_USEC=100000");
        start();
        EXPECT_EQ("READY=1", socket_.next());
        EXPECT_EQ("WATCHDOG=1", socket_.next());
    }

    /* Waits until nothing is reported for five times the watchdog's limit. */
    bool falls_silent() const {
        return wait_until([this] {
            socket_.drain();
            return socket_.next(500ms).empty();
        });
    }

    const NotifySocket socket_{kManager};
};

TEST_F(ZndbManager, ItIsReadyWhenItServesAndNotBefore) {
    {
        const HeldStart held;
        start_held();
        EXPECT_EQ("", socket_.next(0ms));
    }
    EXPECT_EQ("READY=1", socket_.next());
    EXPECT_EQ(1u, frwk_get_module_status(E_APPS_MODULE_ZNDB));
}

TEST_F(ZndbManager, ItReportsAgainAndAgainToAWatchdog) {
    start_with_watchdog();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ("WATCHDOG=1", socket_.next());
    }
}

/* A peer that doesn't read its answer blocks the service thread, while all other threads go on. */
TEST_F(ZndbManager, AServiceThatHangsDoesNotReport) {
    start_with_watchdog();
    {
        RawRequest request = RawRequest::of(E_APPS_MSG_SYS_STATUS);
        request.rsp_size = kLargeRoom;
        RawConnection peer = RawConnection::to("zndb");
        ASSERT_TRUE(peer.send(request.bytes()));
        ASSERT_TRUE(zndb_->wait_for_error("has held the service for")) << zndb_->errors();
        EXPECT_TRUE(falls_silent());
    }
    EXPECT_EQ("WATCHDOG=1", socket_.next()) << "it serves again";
}

TEST_F(ZndbManager, AServiceThatCantBeReachedDoesNotReport) {
    start_with_watchdog();
    std::filesystem::remove("/tmp/m_tmp/ipc/zndb");
    ASSERT_TRUE(zndb_->wait_for_error("the service at /tmp/m_tmp/ipc/zndb does not answer errno=2"));
    EXPECT_TRUE(falls_silent());
}

TEST_F(ZndbManager, ItReportsItsEnd) {
    start();
    EXPECT_EQ("READY=1", socket_.next());
    end_by(E_APPS_MSG_SYS_EXIT);
    EXPECT_EQ("STOPPING=1", socket_.next());
}

TEST_F(ZndbManager, ItReportsItsEndWhenAnotherInstanceMayServe) {
    start();
    EXPECT_EQ("READY=1", socket_.next());
    std::filesystem::remove("/tmp/m_tmp/lock/zndb");
    EXPECT_NE(0, zndb_set("k", "v"));
    EXPECT_EQ(1, zndb_->exit_status());
    EXPECT_EQ("STOPPING=1", socket_.next());
}

TEST_F(ZndbManager, WithoutAManagerNothingRunsForIt) {
    start_with_watchdog();
    const size_t with_manager = threads_of(zndb_->pid());
    end_by(E_APPS_MSG_SYS_EXIT);
    socket_.drain();

    environment_ = {"WATCHDOG_USEC=100000"};
    start();
    EXPECT_EQ(with_manager - 1, threads_of(zndb_->pid()));
    end_by(E_APPS_MSG_SYS_EXIT);
    EXPECT_EQ("", socket_.next(0ms));
}

}  // namespace
