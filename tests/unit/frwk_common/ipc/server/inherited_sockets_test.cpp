/*
 * The sockets that a forked child closes, and those that it keeps.
 */
#include "frwk_common/ipc/server/inherited_sockets.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "unit/frwk_common/ipc/test_peer.h"

namespace {

/* A module's listening socket with a connection, both for the code under test to close. */
class Service {
  public:
    explicit Service(const std::string &module_name) {
        make_ipc_folder();
        (void)unlink(socket_path(module_name).c_str());
        const sockaddr_un address = socket_address(module_name);
        listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(0, ::bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof(address)));
        EXPECT_EQ(0, ::listen(listener, 4));
        peer = connect_to(module_name);
        accepted = ::accept(listener, nullptr, nullptr);
        EXPECT_GE(accepted, 0);
    }
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;
    ~Service() {
        for (const int fd : {listener, accepted, peer}) {
            (void)close(fd); /* a closed one is no harm: nothing was opened since */
        }
    }

    int listener;
    int accepted;
    int peer;
};

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

}  // namespace

TEST(InheritedSockets, OfTheServiceAreClosed) {
    const Service own("wlan");
    close_inherited_sockets(own.listener);
    EXPECT_FALSE(is_open(own.listener));
    EXPECT_FALSE(is_open(own.accepted));
    EXPECT_EQ(Bytes(), read_bytes(own.peer, 1)) << "the peer must see the end";
}

TEST(InheritedSockets, OfOthersStayOpen) {
    const Service own("wlan");
    const Service other("router");
    const SocketPair unnamed;
    close_inherited_sockets(own.listener);
    EXPECT_TRUE(is_open(own.peer));
    for (const int fd : {other.listener, other.accepted, other.peer, unnamed.subject(), unnamed.test()}) {
        EXPECT_TRUE(is_open(fd));
    }
}

TEST(InheritedSockets, WithoutAnAddressAreNotTakenForOneAnother) {
    SocketPair first;
    const SocketPair second;
    const int listener = first.take_subject();
    close_inherited_sockets(listener);
    EXPECT_FALSE(is_open(listener));
    for (const int fd : {first.test(), second.subject(), second.test()}) {
        EXPECT_TRUE(is_open(fd));
    }
}

TEST(InheritedSockets, AreLeftAloneWithoutAListener) {
    const Service own("wlan");
    close_inherited_sockets(-1);
    EXPECT_TRUE(is_open(own.listener));
    EXPECT_TRUE(is_open(own.accepted));
}
