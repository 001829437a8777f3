/*
 * A message to several modules: nobody waits for a module whose backlog is full before the others were tried,
 * and all such modules share one time limit.
 */
#include "frwk_common/ipc/client/fan_out.h"

#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "doubles/libc_doubles.h"
#include "unit/frwk_common/ipc/client/request_fixture.h"

namespace libc = doubles::libc;

namespace {

constexpr ipc::Notice kNotice = {9, "hi", 2};

/* Which modules were tried, in order. A module is full as often as full_ says; then nobody listens there. */
class FanOutTest : public IpcRequestTest {
  protected:
    FanOutTest() {
        libc::connect.stand_in([this](int, const sockaddr *address, socklen_t) {
            const std::string path = reinterpret_cast<const sockaddr_un *>(address)->sun_path;
            tried_.push_back(path);
            int &left = full_[path];
            errno = left > 0 ? EAGAIN : ECONNREFUSED;
            left -= left > 0 ? 1 : 0;
            return -1;
        });
    }

    static std::string socket_of(uint32_t module) {
        return socket_path(frwk_module_name(static_cast<int32_t>(module)));
    }

    std::vector<std::string> tried_;
    std::map<std::string, int> full_;
    ipc::FanOut receivers_{kNotice};
};

}  // namespace

TEST_F(FanOutTest, TriesAFullModuleAgainAfterAllOthers) {
    full_[socket_of(E_APPS_MODULE_ZNDB)] = 1;
    receivers_.send(E_APPS_MODULE_ZNDB);
    receivers_.send(E_APPS_MODULE_MNET);
    receivers_.send(E_APPS_MODULE_WLAN);
    receivers_.wait_for_stragglers();
    EXPECT_EQ(tried_, (std::vector<std::string>{socket_of(2), socket_of(4), socket_of(5), socket_of(2)}));
}

TEST_F(FanOutTest, LetsFullModulesTakeTurns) {
    full_[socket_of(E_APPS_MODULE_ZNDB)] = 4;  // the first try, and the three tries of a turn
    full_[socket_of(E_APPS_MODULE_WLAN)] = 1;
    receivers_.send(E_APPS_MODULE_ZNDB);
    receivers_.send(E_APPS_MODULE_WLAN);
    receivers_.wait_for_stragglers();
    const std::string zndb = socket_of(E_APPS_MODULE_ZNDB);
    const std::string wlan = socket_of(E_APPS_MODULE_WLAN);
    EXPECT_EQ(tried_, (std::vector<std::string>{zndb, wlan, zndb, zndb, zndb, wlan, zndb}));
}

TEST_F(FanOutTest, LogsEachFailureOnce) {
    full_[socket_of(E_APPS_MODULE_WLAN)] = 1;
    receivers_.send(E_APPS_MODULE_WLAN);
    receivers_.wait_for_stragglers();
    EXPECT_EQ(log_.count("ipc connect to module [wlan] failed!"), 1u);
}

TEST_F(FanOutTest, SendsOnceToAModuleThatListens) {
    libc::connect.restore();
    const TestListener zndb("zndb");
    receivers_.send(E_APPS_MODULE_ZNDB);
    receivers_.wait_for_stragglers();
    EXPECT_EQ(zndb.take_message(), words({3, 9, 1, 3, 0, 2}) + text_bytes("hi"));
    EXPECT_FALSE(zndb.has_connection());
}

TEST_F(FanOutTest, WaitsForTheFirstStragglersWhenThereIsNoRoomForMore) {
    constexpr int kMessages = 2 * E_APPS_MODULE_MAX;
    full_[socket_of(E_APPS_MODULE_WLAN)] = kMessages;
    for (int i = 0; i < kMessages; ++i) {
        receivers_.send(E_APPS_MODULE_WLAN);
    }
    receivers_.wait_for_stragglers();
    EXPECT_EQ(log_.count("ipc connect to module [wlan] failed!"), static_cast<size_t>(kMessages));
}

TEST_F(FanOutTest, RefusesABodyWithoutData) {
    ipc::FanOut receivers({9, nullptr, 2});
    receivers.send(E_APPS_MODULE_WLAN);
    receivers.wait_for_stragglers();
    EXPECT_TRUE(tried_.empty());
    EXPECT_EQ(log_.count("invalid request arguments!"), 1u);
}
