/*
 * startup-bench PROGRAM COUNT: starts a module COUNT times, and prints one JSON object with the medians:
 * from its exec to its answer to a probe, from its exec to its main, and from its main until it serves.
 *
 * The probe is repeated until it is answered. Between attempts the program yields, so that it doesn't delay
 * the module on one core.
 */
#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "peers/require.h"
#include "peers/wire_records.h"

namespace {

constexpr char kModule[] = "3"; /* router */
constexpr char kSocket[] = "/tmp/m_tmp/ipc/router";
constexpr int32_t kProbe = 7;
constexpr long long kPatienceNs = 5LL * 1000 * 1000 * 1000;

long long now_ns() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/* Returns whether the module answered. */
bool probe() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, kSocket, sizeof(kSocket));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const WireRequest request = {51, kProbe, 0, 3, 0, 0};
    WireAnswer answer = {-1, 0};
    const bool answered = ::connect(fd, as_address(address), sizeof(address)) == 0 &&
                          ::write(fd, &request, sizeof(request)) == sizeof(request) &&
                          ::read(fd, &answer, sizeof(answer)) == sizeof(answer) && answer.result == 0;
    (void)::close(fd);
    return answered;
}

struct Start {
    long long answered; /* after the exec */
    long long loaded;   /* main, after the exec */
    long long served;   /* after main */
};

Start start_once(const char *program) {
    int ends[2];
    require(::pipe2(ends, O_CLOEXEC) == 0, "pipe2");
    (void)::unlink(kSocket);
    const long long begin = now_ns();
    const pid_t child = ::vfork();
    if (child == 0) {
        (void)::dup2(ends[1], STDOUT_FILENO);
        (void)::execl(program, program, kModule, nullptr);
        ::_exit(127);
    }
    require(child > 0, "vfork");
    while (!probe()) {
        require(now_ns() - begin < kPatienceNs, "no answer to the probe");
        (void)::sched_yield();
    }
    const long long answered = now_ns() - begin;

    char text[64] = "";
    require(::read(ends[0], text, sizeof(text) - 1) > 0, "read");
    char *rest = nullptr;
    const long long main_began = std::strtoll(text, &rest, 10);
    const long long served = std::strtoll(rest, nullptr, 10);
    (void)::kill(child, SIGKILL);
    (void)::waitpid(child, nullptr, 0);
    (void)::close(ends[0]);
    (void)::close(ends[1]);
    return {answered, main_began - begin, served - main_began};
}

double median_us(std::vector<Start> *starts, long long Start::*member) {
    std::sort(starts->begin(), starts->end(),
              [&](const Start &a, const Start &b) { return a.*member < b.*member; });
    return static_cast<double>((*starts)[starts->size() / 2].*member) / 1e3;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: startup-bench PROGRAM COUNT\n");
        return 2;
    }
    std::vector<Start> starts;
    for (long i = std::strtol(argv[2], nullptr, 10); i > 0; --i) {
        starts.push_back(start_once(argv[1]));
    }
    (void)std::printf("{\"answered_us\": %.1f, \"loaded_us\": %.1f, \"served_us\": %.1f}\n",
                      median_us(&starts, &Start::answered), median_us(&starts, &Start::loaded),
                      median_us(&starts, &Start::served));
    return 0;
}
