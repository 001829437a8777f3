/*
 * What a forked child inherits from its module, and what it does not.
 */
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "doubles/libc_doubles.h"
#include "frwk_common/events/subscription_lock.h"
#include "frwk_common/ipc/server/ipc_service.h"
#include "frwk_common/ipc/server/own_messages.h"
#include "support/child.h"
#include "unit/frwk_common/events/subscription_fixture.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/queue/itc_fixture.h"

namespace base = doubles::base;

namespace {

/* Far more than a child needs unless it hangs. */
constexpr unsigned kChildSeconds = 60;

ChildEnd in_child_within_limit(const std::function<std::string()> &body) {
    return run_in_child([&body] {
        alarm(kChildSeconds);
        return body();
    });
}

}  // namespace

/* ---- Its queues ------------------------------------------------------------------------------------ */

namespace {

class ForkedChildOfQueues : public ItcTest {
  protected:
    /* Makes a queue of the child's own, whose thread is never started. */
    static std::string make_own(const std::string &name) {
        base::os_thread_create.stand_in(
            [](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) { return 0; });
        return std::to_string(frwk_itc_create(name.c_str(), nullptr, ItcRecorder::handle));
    }
    LogCapture log_;
};

std::atomic<bool> g_sending{false};
std::atomic<bool> g_released{false};

/* Sends to a queue that has no thread yet, with the registry's lock held until it is released. */
void send_slowly(const std::string &name) {
    base::os_sem_post.stand_in([](os_sem *) {
        g_sending = true;
        while (!g_released) {
            std::this_thread::yield();
        }
        return 0;
    });
    (void)send_text(name, 1, "text");
}

}  // namespace

TEST_F(ForkedChildOfQueues, HasNoneAndMayMakeOneOfTheSameName) {
    ASSERT_EQ(create(), E_APPS_ERR_SUCCESS);
    const ChildEnd end = in_child_within_limit([this] {
        const std::string sent = std::to_string(send_text(name_, 1, "text"));
        const std::string made = make_own(name_);
        return sent + " " + made + " " + std::to_string(send_text(name_, 1, "text"));
    });
    EXPECT_EQ(end.report, std::to_string(E_APPS_ERR_NOTEXIST) + " 0 0");
}

TEST_F(ForkedChildOfQueues, MakesOneThoughAThreadOfItsParentHoldsTheRegistry) {
    std::thread sender;
    ChildEnd end;
    base::os_thread_create.stand_in([&](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) {
        sender = std::thread(send_slowly, name_);
        EXPECT_TRUE(wait_until([] { return g_sending.load(); }));
        end = in_child_within_limit([] { return make_own("another"); });
        g_released = true;
        sender.join();
        return EAGAIN;
    });
    EXPECT_EQ(create(), E_APPS_ERR_THREAD);
    EXPECT_EQ(end.report, "0");
}

/* ---- The sockets of its service -------------------------------------------------------------------- */

namespace {

using ForkedChildOfAService = IpcServiceTest;

/* Which of these descriptors are open in a child. */
std::string open_in_child(const std::vector<int> &descriptors) {
    const ChildEnd end = in_child_within_limit([&descriptors] {
        std::string report;
        for (const int fd : descriptors) {
            report += ::fcntl(fd, F_GETFD) >= 0 ? "open " : "closed ";
        }
        return report;
    });
    return end.report;
}

}  // namespace

/* The service has not learnt of the connection yet when another thread forks. */
TEST_F(ForkedChildOfAService, HasNoConnectionThatWasJustAccepted) {
    const SocketPair others;
    std::promise<std::string> report;
    doubles::libc::accept4.stand_in([&](int listener, sockaddr *address, socklen_t *size, int flags) {
        const bool is_first = doubles::libc::accept4.calls() == 1;
        const int connection = doubles::libc::accept4.real(listener, address, size, flags);
        if (is_first) {
            report.set_value(open_in_child({listener, connection, others.test()}));
        }
        return connection;
    });
    ipc::start_service();
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(report.get_future().get(), "closed closed open ");
}

/* ---- Its threads of own messages ------------------------------------------------------------------- */

using ForkedChildOfOwnMessages = IpcServiceTest;

TEST_F(ForkedChildOfOwnMessages, CountsItsOwnAlone) {
    g_s_own_messages_limit = 2;
    ASSERT_TRUE(ipc::own_message_begins());
    ASSERT_TRUE(ipc::own_message_begins());
    const ChildEnd end =
        in_child_within_limit([] { return ipc::own_message_begins() ? "taken" : "refused"; });
    EXPECT_EQ(end.report, "taken");
    ipc::own_message_ends();
    ipc::own_message_ends();
}

/* ---- The lock of the subscriptions ----------------------------------------------------------------- */

using ForkedChildOfASubscriber = SubscriptionTest;

/* The child waits for the process that holds the lock, not for a thread that exists only in the parent. */
TEST_F(ForkedChildOfASubscriber, TakesTheLockWhenItsParentHasLetItGo) {
    SocketPair pair;
    std::promise<bool> locked;
    std::thread holder([&pair, &locked] {
        locked.set_value(events::lock_subscriptions());
        (void)read_bytes(pair.test(), 1);
        events::unlock_subscriptions();
    });
    EXPECT_TRUE(locked.get_future().get());
    const ChildEnd end = in_child_within_limit([&pair] {
        base::os_msleep.stand_in([&pair](uint32_t ms) {
            (void)write_bytes(pair.subject(), Bytes(1));
            base::os_msleep.restore();
            base::os_msleep.real(ms);
        });
        return std::to_string(events::lock_subscriptions());
    });
    (void)write_bytes(pair.subject(), Bytes(1));
    holder.join();
    EXPECT_EQ(end.report, "1");
}
