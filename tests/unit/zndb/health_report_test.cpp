#include "health_report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/notify_socket.h"
#include "system/messaging/raw_peer.h"

namespace libc = doubles::libc;

namespace {

constexpr char kService[] = "/tmp/m_tmp/ipc/zndb";
constexpr char kManager[] = "/tmp/m_tmp/manager";
constexpr size_t kRequest = 24;

/* A service that gives these answers, one a connection. */
class FakeService {
  public:
    explicit FakeService(std::vector<std::string> answers)
        : server_(make_folder()), thread_([this, answers = std::move(answers)] {
              for (const std::string &answer : answers) {
                  RawConnection connection = server_.accept();
                  EXPECT_EQ(words({2, 6, 0, 0, 4, 0}), connection.receive(kRequest));
                  EXPECT_TRUE(connection.send(answer));
              }
          }) {}
    ~FakeService() { thread_.join(); }
    FakeService(const FakeService &) = delete;
    FakeService &operator=(const FakeService &) = delete;

  private:
    static const char *make_folder() {
        std::filesystem::create_directories("/tmp/m_tmp/ipc");
        return "zndb";
    }

    RawServer server_;
    std::thread thread_;
};

std::string status_answer(uint32_t status) {
    return words({0, 4, status});
}

class HealthReportTest : public testing::Test {
  protected:
    HealthReportTest() { std::filesystem::remove(kService); }
    ~HealthReportTest() override {
        ::unsetenv("NOTIFY_SOCKET");
        doubles::restore_all();
    }

    static bool serves_with(const std::string &answer) {
        const FakeService service({answer});
        return is_serving(kService);
    }

    void expect_unanswered(int error) {
        EXPECT_FALSE(is_serving(kService));
        EXPECT_TRUE(log_.contains("the service at /tmp/m_tmp/ipc/zndb does not answer errno=" +
                                  std::to_string(error)))
            << log_.text();
        log_.clear();
    }

    LogCapture log_;
};

TEST_F(HealthReportTest, AServiceServesOnceItsHandlerIsRegistered) {
    EXPECT_TRUE(serves_with(status_answer(1)));
    EXPECT_FALSE(serves_with(status_answer(0)));
    EXPECT_FALSE(serves_with(words({3, 4, 1}))) << "with a result that is a failure";
    EXPECT_EQ("", log_.text()) << "to be still starting is no failure";
}

TEST_F(HealthReportTest, AnAnswerThatIsCutOffIsNone) {
    EXPECT_FALSE(serves_with(status_answer(1).substr(0, 11)));
    EXPECT_FALSE(serves_with(""));
    EXPECT_EQ(2u, log_.count("does not answer")) << log_.text();
}

TEST_F(HealthReportTest, AServiceThatCantBeAskedIsLoggedAndLeavesNoDescriptor) {
    expect_unanswered(ENOENT);
    libc::socket.stand_in([](int, int, int) { return errno = EMFILE, -1; });
    expect_unanswered(EMFILE);
    libc::socket.restore();

    libc::connect.stand_in([](int, const sockaddr *, socklen_t) { return 0; });
    libc::send.stand_in([](int, const void *, size_t, int) { return errno = EPIPE, ssize_t{-1}; });
    expect_unanswered(EPIPE);
    libc::send.stand_in([](int, const void *, size_t size, int) { return static_cast<ssize_t>(size); });
    libc::recv.stand_in([](int, void *, size_t, int) { return errno = ECONNRESET, ssize_t{-1}; });
    expect_unanswered(ECONNRESET);
    EXPECT_EQ(3u, libc::close.calls());
}

TEST_F(HealthReportTest, ReadyIsReportedOnceTheServiceServes) {
    const NotifySocket socket(kManager);
    ::setenv("NOTIFY_SOCKET", kManager, 1);
    const FakeService service({status_answer(0), "", status_answer(1)});
    report_health(ServiceManager(), kService);
    EXPECT_EQ("READY=1", socket.next());
    EXPECT_EQ("", socket.next(std::chrono::milliseconds(0))) << "once, and nothing else without a watchdog";
}

TEST_F(HealthReportTest, OnlyAManagerThatListensGetsAThread) {
    start_health_report(ServiceManager());
    EXPECT_EQ(0u, doubles::base::os_thread_create.calls());
}

TEST_F(HealthReportTest, AThreadThatCantBeStartedIsLogged) {
    ::setenv("NOTIFY_SOCKET", kManager, 1);
    doubles::base::os_thread_create.stand_in(
        [](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) { return -1; });
    start_health_report(ServiceManager());
    EXPECT_TRUE(log_.contains("no thread to report to the service manager")) << log_.text();
}

}  // namespace
