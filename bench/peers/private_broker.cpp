/*
 * private-broker PATH: runs a dbus-broker whose bus listens on PATH with a policy that allows everything. It
 * prints "ready" and runs until it is killed.
 *
 * The broker receives its listening socket and its policy from its controller, which is this program; the
 * usual launcher needs a complete session.
 */
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/* The policy in the broker's format: rules to connect, own, send and receive, by user, by group, for others.
 */
#define RULES "bta(btbs)a(btssssuutt)a(btssssuutt)"
#define POLICY "a(u(" RULES "))a(buu(" RULES "))a(ss)bs"

constexpr uint64_t kPriority = 1;

void check(int result, const char *what) {
    if (result < 0) {
        (void)std::fprintf(stderr, "private-broker: %s: %s\n", what, std::strerror(-result));
        std::exit(1);
    }
}

int listen_on(const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path);
    (void)::unlink(path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool ready = fd >= 0 &&
                       ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0 &&
                       ::listen(fd, 128) == 0;
    check(ready ? 0 : -errno, "listen");
    return fd;
}

[[noreturn]] void become_broker(int controller) {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    check(::dup2(controller, 3) < 0 ? -errno : 0, "dup2");
    ::execlp("dbus-broker", "dbus-broker", "--controller", "3", "--machine-id",
             "0123456789abcdef0123456789abcdef", "--max-bytes", "536870912", "--max-fds", "4096",
             "--max-matches", "131072", nullptr);
    check(-errno, "dbus-broker");
    std::abort();
}

void append_open_policy(sd_bus_message *message) {
    check(sd_bus_message_open_container(message, 'v', "(" POLICY ")"), "variant");
    check(sd_bus_message_open_container(message, 'r', POLICY), "policy");
    check(sd_bus_message_append(message, "a(u(" RULES "))", 1, UINT32_MAX, 1, kPriority,         //
                                1, 1, kPriority, 1, "",                                          //
                                1, 1, kPriority, "", "", "", "", 0, 0, uint64_t{0}, UINT64_MAX,  //
                                1, 1, kPriority, "", "", "", "", 0, 0, uint64_t{0}, UINT64_MAX),
          "rules of users");
    check(sd_bus_message_append(message, "a(buu(" RULES "))a(ss)bs", 0, 0, 0, "session"), "rules of groups");
    check(sd_bus_message_close_container(message), "policy");
    check(sd_bus_message_close_container(message), "variant");
}

void hand_over(sd_bus *broker, int listener) {
    sd_bus_message *call = nullptr;
    check(sd_bus_message_new_method_call(broker, &call, nullptr, "/org/bus1/DBus/Broker",
                                         "org.bus1.DBus.Broker", "AddListener"),
          "call");
    check(sd_bus_message_append(call, "oh", "/org/bus1/DBus/Listener/0", listener), "listener");
    append_open_policy(call);
    check(sd_bus_call(broker, call, 0, nullptr, nullptr), "AddListener");
    sd_bus_message_unref(call);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: private-broker PATH\n");
        return 2;
    }
    int ends[2];
    check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) < 0 ? -errno : 0,
          "pair");
    const pid_t child = ::fork();
    check(child, "fork");
    if (child == 0) {
        become_broker(ends[1]);
    }
    (void)::close(ends[1]);

    sd_bus *broker = nullptr;
    check(sd_bus_new(&broker), "sd_bus_new");
    check(sd_bus_set_fd(broker, ends[0], ends[0]), "sd_bus_set_fd");
    check(sd_bus_start(broker), "sd_bus_start");
    hand_over(broker, listen_on(argv[1]));
    (void)std::printf("ready %d\n", static_cast<int>(child));
    (void)std::fflush(stdout);
    for (;;) {
        check(sd_bus_process(broker, nullptr), "process");
        check(sd_bus_wait(broker, UINT64_MAX), "wait");
    }
}
