#include "service_manager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/notify_socket.h"

namespace libc = doubles::libc;

namespace {

constexpr char kPath[] = "/tmp/m_tmp/manager";
constexpr char kNoReport[] = "can't report READY=1 to the service manager errno=";

class ServiceManagerTest : public testing::Test {
  protected:
    ~ServiceManagerTest() override {
        for (const char *name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
            ::unsetenv(name);
        }
        doubles::restore_all();
    }

    static void set(const char *name, const std::string &value) { ::setenv(name, value.c_str(), 1); }

    static uint32_t pause_with(const std::string &limit) {
        set("WATCHDOG_USEC", limit);
        return ServiceManager().watchdog_pause_ms();
    }

    LogCapture log_;
};

TEST_F(ServiceManagerTest, WithoutTheVariableNothingIsSentOrLogged) {
    set("WATCHDOG_USEC", "1000000");
    const ServiceManager manager;
    manager.report("READY=1");
    EXPECT_FALSE(manager.listens());
    EXPECT_EQ(0u, manager.watchdog_pause_ms());
    EXPECT_EQ(0u, libc::socket.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(ServiceManagerTest, AReportIsOneDatagramToTheSocket) {
    for (const std::string &name : {std::string(kPath), "@quorapps-test-" + std::to_string(::getpid())}) {
        const NotifySocket socket(name);
        set("NOTIFY_SOCKET", name);
        const ServiceManager manager;
        EXPECT_TRUE(manager.listens());
        manager.report("READY=1");
        EXPECT_EQ("READY=1", socket.next()) << name;
        EXPECT_EQ("", log_.text());
    }
}

TEST_F(ServiceManagerTest, AnAddressThatIsNoLocalSocketIsLogged) {
    for (const std::string &name :
         {std::string(), std::string("/"), std::string("vsock:2:1"), "/" + std::string(107, 'x')}) {
        log_.clear();
        set("NOTIFY_SOCKET", name);
        const ServiceManager manager;
        manager.report("READY=1");
        EXPECT_FALSE(manager.listens()) << name;
        EXPECT_EQ(1u, log_.count("NOTIFY_SOCKET is not the address of a local socket")) << name;
    }
    EXPECT_EQ(0u, libc::socket.calls());
}

TEST_F(ServiceManagerTest, AReportThatCantBeSentIsLoggedAndLeavesNoDescriptor) {
    set("NOTIFY_SOCKET", kPath);
    const NotifySocket socket(kPath);
    const ServiceManager manager;
    libc::socket.stand_in([](int, int, int) { return errno = EMFILE, -1; });
    manager.report("READY=1");
    EXPECT_TRUE(log_.contains(kNoReport + std::to_string(EMFILE))) << log_.text();

    libc::socket.restore();
    libc::connect.stand_in([](int, const sockaddr *, socklen_t) { return errno = ECONNREFUSED, -1; });
    manager.report("READY=1");
    EXPECT_TRUE(log_.contains(kNoReport + std::to_string(ECONNREFUSED))) << log_.text();

    libc::connect.restore();
    libc::send.stand_in([](int, const void *, size_t, int) { return errno = EAGAIN, ssize_t{-1}; });
    manager.report("READY=1");
    EXPECT_TRUE(log_.contains(kNoReport + std::to_string(EAGAIN))) << log_.text();
    EXPECT_EQ(2u, libc::close.calls());
    EXPECT_EQ("", socket.next(std::chrono::milliseconds(0)));
}

TEST_F(ServiceManagerTest, AWatchdogIsServedAtHalfItsLimit) {
    set("NOTIFY_SOCKET", kPath);
    EXPECT_EQ(0u, ServiceManager().watchdog_pause_ms());
    EXPECT_EQ(90000u, pause_with("180000000"));
    EXPECT_EQ(1u, pause_with("1")) << "never as fast as possible";
    EXPECT_EQ(UINT32_MAX, pause_with("999999999999999999"));
    EXPECT_EQ("", log_.text());
}

TEST_F(ServiceManagerTest, AWatchdogOfAnotherProcessIsNotServed) {
    set("NOTIFY_SOCKET", kPath);
    set("WATCHDOG_PID", std::to_string(::getpid() + 1));
    EXPECT_EQ(0u, pause_with("2000000"));
    set("WATCHDOG_PID", std::to_string(::getpid()));
    EXPECT_EQ(1000u, pause_with("2000000"));
}

TEST_F(ServiceManagerTest, AWatchdogWithoutAUsableLimitIsLogged) {
    set("NOTIFY_SOCKET", kPath);
    for (const std::string limit : {"", "0", "x", "10s", "-5", "1000000000000000000"}) {
        log_.clear();
        EXPECT_EQ(0u, pause_with(limit)) << limit;
        EXPECT_EQ(1u, log_.count("WATCHDOG_USEC is not a number of microseconds")) << limit;
    }
}

}  // namespace
