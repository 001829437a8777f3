/*
 * The sender runs until everything has arrived, since its library may send on a separate thread. The time is
 * measured from the first send until the servers have counted the last message: filling a queue is not
 * sending.
 */
#include "peers/one_way.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "frwk_common.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kMostServers = 64;
constexpr size_t kLine = 64;
constexpr auto kPatience = std::chrono::seconds(2); /* without another message, the rest counts as lost */
constexpr useconds_t kPollMicroseconds = 200;

uint64_t received(const OneWay &plan) {
    uint64_t sum = 0;
    for (unsigned i = 0; i < plan.servers; ++i) {
        sum += open_counter(plan.counters, i)->load();
    }
    return sum;
}

/* Returns when the last message arrived. */
Clock::time_point wait_for_all(const OneWay &plan, uint64_t wanted) {
    uint64_t before = received(plan);
    auto changed = Clock::now();
    while (before < wanted && Clock::now() - changed < kPatience) {
        (void)::usleep(kPollMicroseconds);
        const uint64_t now = received(plan);
        if (now != before) {
            before = now;
            changed = Clock::now();
        }
    }
    return changed;
}

class Sender {
  public:
    explicit Sender(const OneWay &plan) : plan_(plan), message_(make_request(plan.size, 0)) {
        for (unsigned i = 0; i < plan.servers; ++i) {
            clients_.push_back(find_peer(plan.peer)->open(i, true));
        }
    }

    /* Returns the number of failed sends; a publication doesn't report them. */
    unsigned long send(unsigned long events) {
        unsigned long failed = 0;
        for (unsigned long i = 0; i < events; ++i) {
            if (plan_.publish) {
                frwk_ipc_msg_pub(kBenchEvent, E_APPS_MSG_ROUTER_ETHER_INFO_GET, message_.data(),
                                 static_cast<uint32_t>(message_.size()));
                continue;
            }
            for (const auto &client : clients_) {
                failed += client->send(message_) ? 0 : 1;
            }
        }
        return failed;
    }

  private:
    const OneWay &plan_;
    const Bytes message_;
    std::vector<std::unique_ptr<Client>> clients_;
};

/* Messages that the sender knows were refused don't count as lost. */
void print_counts(const OneWay &plan, uint64_t arrived, unsigned long failed, double seconds) {
    const unsigned long sent = plan.count * plan.servers;
    const auto lost = static_cast<long long>(sent - failed) - static_cast<long long>(arrived);
    if (!plan.publish) {
        (void)std::printf("{\"failed\": %lu, ", failed);
    }
    (void)std::printf("%s\"sent\": %lu, \"lost\": %lld, \"seconds\": %.6f, \"rate\": %.1f}\n",
                      plan.publish ? "{" : "", sent, lost, seconds, static_cast<double>(arrived) / seconds);
}

}  // namespace

std::atomic<uint64_t> *open_counter(const std::string &path, unsigned index) {
    static void *lines = nullptr;
    if (lines == nullptr) {
        const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        require(fd >= 0 && ::ftruncate(fd, kMostServers * kLine) == 0, path.c_str());
        lines = ::mmap(nullptr, kMostServers * kLine, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        require(lines != MAP_FAILED, "mmap");
        (void)::close(fd);
    }
    return reinterpret_cast<std::atomic<uint64_t> *>(static_cast<char *>(lines) + index * kLine);
}

void measure_one_way(const OneWay &plan) {
    Sender sender(plan);
    const uint64_t warm = received(plan) + plan.servers;
    (void)sender.send(1);
    (void)wait_for_all(plan, warm);
    const uint64_t already = received(plan);
    const uint64_t wanted = already + uint64_t{plan.count} * plan.servers;

    const auto begin = Clock::now();
    const unsigned long failed = sender.send(plan.count);
    const auto end = wait_for_all(plan, wanted);
    print_counts(plan, received(plan) - already, failed, std::chrono::duration<double>(end - begin).count());
}
