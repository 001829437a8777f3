/*
 * Who has sent the message that a handler answers, asked in the handler.
 */
#include "frwk_common/ipc/server/served_peer.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "doubles/libc_doubles.h"
#include "frwk_common/ipc/server/ipc_service.h"
#include "frwk_ipc_ext.h"
#include "support/child.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace libc = doubles::libc;

namespace {

/* Answers with the process and the user that it is told, or with the two words 1 and 2. */
apps_err_e_type answer_peer(uint32_t, apps_message_id_e_type, const void *, int32_t, void *rsp, uint32_t,
                            uint32_t) {
    frwk_ipc_peer_t peer = {1, 2};
    const int32_t known = frwk_ipc_peer(&peer);
    std::memcpy(rsp, &peer, sizeof(peer));
    return known;
}

/* In another thread than the service's, as a message of the module to itself. */
apps_err_e_type answer_peer_elsewhere(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                      int32_t data_len, void *rsp, uint32_t rsp_size, uint32_t timeout) {
    apps_err_e_type result = -1;
    std::thread([&] { result = answer_peer(src, msgid, data, data_len, rsp, rsp_size, timeout); }).join();
    return result;
}

class ServedPeer : public IpcServiceTest {
  protected:
    ServedPeer() {
        g_s_ipc_handler = answer_peer;
        ipc::start_service();
    }
};

Bytes answer(bool known, uint32_t process, uint32_t user) {
    return words({known ? 1u : 0u, 8, process, user});
}

TEST_F(ServedPeer, IsTheProcessThatHasConnected) {
    const auto process = static_cast<uint32_t>(::getpid());
    EXPECT_EQ(ask_module("router", request(8)), answer(true, process, ::geteuid()));
    const ChildEnd end = run_in_child([] {
        const bool is_child =
            ask_module("router", request(8)) == answer(true, static_cast<uint32_t>(::getpid()), ::geteuid());
        return std::string(is_child ? "the child" : "another");
    });
    EXPECT_EQ("the child", end.report);
}

/* The service thread may have another connection by then. */
TEST_F(ServedPeer, OfARequestThatIsHandledApartIsTheOneThatHasSentIt) {
    constexpr int32_t kApartMessage = 3100;
    ASSERT_EQ(0, frwk_ipc_handle_apart(kApartMessage));
    const Bytes apart = words({5, kApartMessage, 0, 3, 8, 0});
    EXPECT_EQ(ask_module("router", apart), answer(true, static_cast<uint32_t>(::getpid()), ::geteuid()));
    const ChildEnd end = run_in_child([&apart] {
        const Bytes found = ask_module("router", apart);
        const bool is_child = found == answer(true, static_cast<uint32_t>(::getpid()), ::geteuid());
        return std::string(is_child ? "the child" : "another");
    });
    EXPECT_EQ("the child", end.report);
}

TEST_F(ServedPeer, IsUnknownOutsideTheServicesThread) {
    frwk_ipc_peer_t peer = {1, 2};
    EXPECT_EQ(0, frwk_ipc_peer(&peer));
    EXPECT_EQ(1, peer.process);
    g_s_ipc_handler = answer_peer_elsewhere;
    EXPECT_EQ(ask_module("router", request(8)), answer(false, 1, 2));
}

TEST_F(ServedPeer, IsUnknownWhereTheKernelDoesNotSay) {
    libc::getsockopt.stand_in([](int, int, int, void *, socklen_t *) {
        errno = ENOPROTOOPT;
        return -1;
    });
    EXPECT_EQ(ask_module("router", request(8)), answer(false, 1, 2));
}

apps_err_e_type ask_in_child(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t,
                             uint32_t) {
    const ChildEnd end = run_in_child([] {
        frwk_ipc_peer_t peer = {};
        return std::to_string(frwk_ipc_peer(&peer));
    });
    return end.report == "0" ? 0 : 1;
}

TEST_F(ServedPeer, IsUnknownInAChildThatAHandlerHasForked) {
    g_s_ipc_handler = ask_in_child;
    EXPECT_EQ(ask_module("router", request(0)), words({0, 0}));
}

}  // namespace
