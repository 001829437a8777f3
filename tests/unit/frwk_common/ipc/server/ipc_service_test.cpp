/*
 * The accept loop on a real socket and thread, and the start of the service.
 */
#include "frwk_common/ipc/server/ipc_service.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <future>
#include <thread>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_common/ipc/server/ipc_listener.h"
#include "support/files.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

/* ---- Its loop -------------------------------------------------------------------------------------- */

namespace {

/* With the real socket and the real thread, which stays until the test program ends. */
class IpcLoopTest : public IpcServiceTest {
  protected:
    IpcLoopTest() { ipc::start_service(); }
};

constexpr int32_t kSlowMessage = 3002;

std::promise<void> *g_entered = nullptr;
std::shared_future<void> *g_released = nullptr;

apps_err_e_type slow_handler(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                             void *rsp, uint32_t rsp_size, uint32_t timeout) {
    if (msgid == kSlowMessage) {
        g_entered->set_value();
        g_released->wait();
    }
    return TestHandler::handle(src, msgid, data, data_len, rsp, rsp_size, timeout);
}

}  // namespace

TEST_F(IpcLoopTest, AnswersOneConnectionAfterAnother) {
    TestHandler::reset(7, text_bytes("ok"));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(ask_module("router", request(4)), words({7, 4}) + text_bytes("ok") + zeros(2));
    }
    EXPECT_EQ(TestHandler::calls().size(), 50u);
}

TEST_F(IpcLoopTest, ClosesTheConnectionOfAnAsynchronousMessage) {
    EXPECT_EQ(ask_module("router", words({5, 3001, 1, 3, 0, 0})), Bytes());
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}

TEST_F(IpcLoopTest, TakesNoConnectionBeforeTheCurrentOneIsDone) {
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    g_entered = &entered;
    g_released = &released;
    g_s_ipc_handler = slow_handler;

    std::thread first([] { ask_module("router", words({5, kSlowMessage, 0, 3, 0, 0})); });
    entered.get_future().wait();
    const int second = connect_to("router");
    write_bytes(second, request(4));
    EXPECT_EQ(libc::accept4.calls(), 1u);
    EXPECT_EQ(TestHandler::calls().size(), 0u);

    release.set_value();
    EXPECT_EQ(read_to_end(second), words({0, 4, 0}));
    first.join();
    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].msgid, kSlowMessage);
    (void)close(second);
}

TEST_F(IpcLoopTest, AnswersAfterEveryKindOfBadRequest) {
    const std::vector<Bytes> bad = {
        {}, pattern(23), words({5, 3001, 0, 3, 4, 0x7FFFFFFF}), request(0xFFFFFFFF), request(0xFFFFFFF8),
    };
    for (const Bytes &sent : bad) {
        const int fd = connect_to("router");
        write_bytes(fd, sent);
        (void)shutdown(fd, SHUT_WR);
        EXPECT_EQ(read_to_end(fd), Bytes());
        (void)close(fd);
        EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    }
}

TEST_F(IpcLoopTest, LeaksNothingWhenPeersConnectAndLeave) {
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    const size_t before = open_descriptors();
    const uint32_t blocks = live_blocks();
    for (int i = 0; i < 2000; ++i) {
        (void)close(connect_to("router"));
    }
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_LE(open_descriptors(), before + 1);  // the last connection may still be closing
    EXPECT_EQ(live_blocks(), blocks);
}

TEST_F(IpcLoopTest, AnswersAfterAPeerThatDiedWhileItWasAnswered) {
    const int fd = connect_to("router");
    write_bytes(fd, request(1024 * 1024));
    read_bytes(fd, 8);
    (void)close(fd);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

namespace {

/* The loop on a listener of the test, with failing accepts; it stays until the test program ends. */
class IpcAcceptTest : public IpcServiceTest {
  protected:
    /* Lets the first accepts fail, then starts the loop. */
    void start_with_failing_accepts(unsigned failures, int error) {
        libc::accept4.stand_in([failures, error](int fd, sockaddr *address, socklen_t *size, int flags) {
            if (libc::accept4.calls() <= failures) {
                errno = error;
                return -1;
            }
            return libc::accept4.real(fd, address, size, flags);
        });
        ipc::start_service();
    }
};

}  // namespace

TEST_F(IpcAcceptTest, TriesAgainAtOnceAfterAFailedAccept) {
    start_with_failing_accepts(3, ECONNABORTED);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(log_.count(with_errno("ipc accept error!", ECONNABORTED)), 3u) << log_.text();
    EXPECT_EQ(log_.debug_lines().at(0).function, "frwk_ipc_loop");
    EXPECT_EQ(log_.debug_lines().at(0).level, kWarningLevel);
    EXPECT_EQ(base::os_msleep.calls() + base::os_sleep.calls(), 0u);
}

TEST_F(IpcAcceptTest, DropsAConnectionItHasNoDescriptorFor) {
    // After the first failure a peer is waited for, at the second it is there; the third takes and drops it.
    start_with_failing_accepts(2, EMFILE);
    EXPECT_EQ(ask_module("router", request(4)), Bytes());
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(log_.count(with_errno("ipc accept error!", EMFILE)), 2u) << log_.text();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_loop",
                            "no descriptor left: connections dropped so far: 1"));
}

TEST_F(IpcAcceptTest, DropsEachConnectionWhileThereIsNoDescriptor) {
    ipc::make_listener();
    const int peers[] = {connect_to("router"), connect_to("router"), connect_to("router")};
    for (const int peer : peers) {
        write_bytes(peer, request(4));
    }

    rlimit usual = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &usual));
    const int first_free = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int for_the_spare = dup(first_free);
    rlimit narrow = usual;
    narrow.rlim_cur = static_cast<rlim_t>(for_the_spare) + 1;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &narrow));
    (void)close(for_the_spare);
    ipc::start_service();
    for (const int peer : peers) {
        EXPECT_EQ(read_to_end(peer), Bytes());
    }
    (void)close(first_free);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &usual));
    EXPECT_GE(log_.count(with_errno("ipc accept error!", EMFILE)), 6u) << log_.text();
    for (const int peer : peers) {
        (void)close(peer);
    }
}

TEST_F(IpcAcceptTest, ServesThePeerThatComesWhenADescriptorIsFreeAgain) {
    // The kernel looks for a descriptor first, so the accept of an empty queue fails too.
    std::promise<void> waiting;
    libc::poll.stand_in([&waiting](pollfd *fds, nfds_t count, int limit) {
        if (limit < 0) {
            waiting.set_value();
        }
        return libc::poll.real(fds, count, limit);
    });
    start_with_failing_accepts(1, EMFILE);
    waiting.get_future().wait();
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(base::os_msleep.calls() + base::os_sleep.calls(), 0u);
}

TEST_F(IpcAcceptTest, ServesThePeerThatComesWhenTheSystemHasADescriptorAgain) {
    start_with_failing_accepts(1, ENFILE);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(base::os_msleep.calls() + base::os_sleep.calls(), 0u);
}

TEST_F(IpcAcceptTest, WaitsForAPeerOfASocketWithTheNumberZero) {
    ipc::make_listener();
    const int listener = g_s_ipcs_fd;
    ASSERT_EQ(dup2(listener, 0), 0);
    (void)close(listener);
    g_s_ipcs_fd = 0;
    start_with_failing_accepts(1, EMFILE);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(base::os_msleep.calls() + base::os_sleep.calls(), 0u);
}

TEST_F(IpcAcceptTest, PausesWhenItCanNotWaitForAPeer) {
    base::os_msleep.stand_in([](uint32_t) {});
    libc::poll.stand_in([](pollfd *fds, nfds_t count, int limit) {
        if (limit < 0) {
            errno = ENOMEM;
            return -1;
        }
        return libc::poll.real(fds, count, limit);
    });
    start_with_failing_accepts(1, EMFILE);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(base::os_msleep.calls(), 1u);
}

TEST_F(IpcAcceptTest, PausesAfterAnErrorThatLasts) {
    base::os_msleep.stand_in([](uint32_t) {});
    start_with_failing_accepts(3, ENOMEM);
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(base::os_msleep.calls(), 3u);
}

TEST_F(IpcAcceptTest, DoesNotSpinWithoutAListener) {
    g_s_ipcs_fd = -1;
    std::promise<void> paused;
    std::promise<void> never;
    std::shared_future<void> never_set = never.get_future().share();
    base::os_msleep.stand_in([&paused, never_set, first = true](uint32_t) mutable {
        if (first) {
            first = false;
            paused.set_value();
        }
        std::this_thread::sleep_for(std::chrono::hours(1));
    });
    libc::accept4.fail(EBADF);
    std::thread(ipc::run_service, nullptr).detach();
    paused.get_future().wait();
    EXPECT_EQ(libc::accept4.calls(), 1u);
}

/* ---- Its start ------------------------------------------------------------------------------------- */

namespace {

/* The thread is only noted, never started. */
class IpcStartTest : public IpcServiceTest {
  protected:
    IpcStartTest() {
        make_ipc_folder();
        thread_start_gives(0);
        base::os_thread_join.stand_in([this](os_thread_t thread) {
            joined_.push_back(thread);
            return 0;
        });
    }
    ~IpcStartTest() override {
        if (g_s_ipcs_fd >= 0 && g_s_ipcs_fd != kSomeDescriptor) {
            (void)close(g_s_ipcs_fd);
        }
    }

    void thread_start_gives(int32_t result) {
        base::os_thread_create.stand_in([this, result](os_thread_t *thread, const os_thread_attr *attr,
                                                       os_thread_entry entry, void *argument) {
            detached_ = attr != nullptr ? attr->detached : 1;
            entry_ = entry;
            argument_ = argument;
            if (result == 0) {
                *thread = kThread;
            }
            return result;
        });
    }
    static void sockets_fail() { libc::socket.fail(EMFILE); }

    static constexpr os_thread_t kThread = 4711;
    static constexpr int kSomeDescriptor = 1000000;

    uint32_t detached_ = 2;
    os_thread_entry entry_ = nullptr;
    void *argument_ = this;
    std::vector<os_thread_t> joined_;
};

}  // namespace

TEST_F(IpcStartTest, OpensTheSocketAndStartsTheThread) {
    ipc::start_service();
    EXPECT_GE(g_s_ipcs_fd, 0);
    EXPECT_EQ(g_s_ipc_thread, kThread);
    EXPECT_EQ(entry_, ipc::run_service);
    EXPECT_EQ(argument_, nullptr);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcStartTest, StartsAThreadThatCanBeJoined) {
    ipc::start_service();
    EXPECT_EQ(detached_, 0u);
}

TEST_F(IpcStartTest, AssertsTheSocketAndStartsTheThreadAllTheSame) {
    sockets_fail();
    ipc::start_service();
    EXPECT_EQ(g_s_ipcs_fd, -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("create ipc socket error!", EMFILE)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 <= g_s_ipcs_fd")));
    EXPECT_EQ(g_s_ipc_thread, kThread);
}

TEST_F(IpcStartTest, AssertsTheThread) {
    thread_start_gives(EAGAIN);
    ipc::start_service();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 == ret")));
    EXPECT_EQ(g_s_ipc_thread, 0u);
}

TEST_F(IpcStartTest, RegistrationSetsTheStatusToOne) {
    EXPECT_EQ(g_s_module_status, 0u);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, RegistrationStartsAServiceThatDoesNotRun) {
    g_s_ipc_handler = nullptr;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(base::os_thread_create.calls(), 1u);
    EXPECT_GE(g_s_ipcs_fd, 0);
}

TEST_F(IpcStartTest, RegistrationLeavesARunningServiceAlone) {
    g_s_ipcs_fd = kSomeDescriptor;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipcs_fd, kSomeDescriptor);
    EXPECT_EQ(g_s_ipc_thread, 12u);
    EXPECT_EQ(base::os_thread_create.calls(), 0u);
    EXPECT_EQ(libc::socket.calls(), 0u);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, DescriptorZeroCountsAsAListeningSocket) {
    g_s_ipcs_fd = 0;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(libc::socket.calls(), 0u);
    g_s_ipcs_fd = -1;
}

TEST_F(IpcStartTest, RegistrationTriesAgainToOpenASocketThatFailed) {
    g_s_ipcs_fd = -1;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_GE(g_s_ipcs_fd, 0);
}

TEST_F(IpcStartTest, ASecondTryAfterAFailedThreadKeepsTheSocketThatPeersMayWaitOn) {
    thread_start_gives(EAGAIN);
    ipc::start_service();
    const int listener = g_s_ipcs_fd;
    thread_start_gives(0);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipcs_fd, listener);
    EXPECT_EQ(g_s_ipc_thread, kThread);
}

TEST_F(IpcStartTest, RegistrationReplacesTheHandler) {
    frwk_ipc_service_ex(slow_handler, 0);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(base::os_thread_create.calls(), 1u);
}

TEST_F(IpcStartTest, RegistrationSetsTheStatusBackToOne) {
    frwk_set_module_status(9);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, ReturnsAtOnceWithoutTheWishToWait) {
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_TRUE(joined_.empty());
}

TEST_F(IpcStartTest, WaitsForTheServiceThread) {
    for (const int32_t wait : {1, -1, 7}) {
        joined_.clear();
        frwk_ipc_service_ex(TestHandler::handle, wait);
        EXPECT_EQ(joined_, std::vector<os_thread_t>{kThread}) << wait;
    }
}

TEST_F(IpcStartTest, ServiceWithOneArgumentWaits) {
    frwk_ipc_service(TestHandler::handle);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(joined_, std::vector<os_thread_t>{kThread});
}

TEST_F(IpcStartTest, DoesNotWaitForAThreadThatCouldNotBeStarted) {
    thread_start_gives(EAGAIN);
    frwk_ipc_service(TestHandler::handle);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 == ret")));
    EXPECT_EQ(g_s_module_status, 1u);
    EXPECT_TRUE(joined_.empty());
}

TEST_F(IpcStartTest, StatusIsWhatTheModuleSays) {
    frwk_set_module_status(0xFFFFFFFF);
    EXPECT_EQ(g_s_module_status, 0xFFFFFFFFu);
}
