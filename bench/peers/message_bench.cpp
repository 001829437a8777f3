/*
 * message-bench: runs one of the processes of the message benchmarks. The driver starts them.
 *
 *   message-bench list
 *   message-bench serve PEER [--index N] [--one-way] [--counters FILE]
 *   message-bench ask PEER [--request N] [--answer N] [--seconds S | --count N] [--clients N]
 *   message-bench send PEER --counters FILE [--size N] [--count N] [--servers N] [--publish]
 */
#include <cstdio>
#include <cstdlib>
#include <map>

#include "peers/one_way.h"
#include "peers/round_trips.h"

namespace {

/* The options after the command and the peer. */
class Options {
  public:
    Options(int argc, char **argv) {
        for (int i = 3; i < argc; ++i) {
            const std::string option = argv[i];
            const bool is_word = option == "--one-way" || option == "--publish";
            values_[option] = is_word || i + 1 >= argc ? "1" : argv[++i];
        }
    }

    bool has(const char *option) const { return values_.count(option) > 0; }
    std::string text(const char *option) const { return has(option) ? values_.at(option) : ""; }
    unsigned long number(const char *option, unsigned long otherwise) const {
        return has(option) ? std::strtoul(values_.at(option).c_str(), nullptr, 10) : otherwise;
    }
    double real(const char *option, double otherwise) const {
        return has(option) ? std::strtod(values_.at(option).c_str(), nullptr) : otherwise;
    }

  private:
    std::map<std::string, std::string> values_;
};

void list() {
    for (const std::string &name : peer_names()) {
        (void)std::puts(name.c_str());
    }
}

void serve(const std::string &peer, const Options &options) {
    static std::atomic<uint64_t> uncounted{0};
    const auto index = static_cast<unsigned>(options.number("--index", 0));
    Service service;
    service.index = index;
    service.received =
        options.has("--counters") ? open_counter(options.text("--counters"), index) : &uncounted;
    service.when_ready = [] {
        (void)std::puts("ready");
        (void)std::fflush(stdout);
    };
    find_peer(peer)->serve(service, options.has("--one-way"));
}

void ask(const std::string &peer, const Options &options) {
    RoundTrips plan;
    plan.peer = peer;
    plan.request = options.number("--request", plan.request);
    plan.answer = static_cast<uint32_t>(options.number("--answer", plan.answer));
    plan.seconds = options.real("--seconds", plan.seconds);
    plan.count = options.number("--count", plan.count);
    plan.clients = static_cast<unsigned>(options.number("--clients", plan.clients));
    measure_round_trips(plan);
}

void send_all(const std::string &peer, const Options &options) {
    OneWay plan;
    plan.peer = peer;
    plan.counters = options.text("--counters");
    plan.size = options.number("--size", plan.size);
    plan.count = options.number("--count", 1000);
    plan.servers = static_cast<unsigned>(options.number("--servers", plan.servers));
    plan.publish = options.has("--publish");
    measure_one_way(plan);
}

}  // namespace

int main(int argc, char **argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    const std::string peer = argc > 2 ? argv[2] : "";
    const Options options(argc, argv);
    if (command == "list") {
        list();
    } else if (command == "serve") {
        serve(peer, options);
    } else if (command == "ask") {
        ask(peer, options);
    } else if (command == "send") {
        send_all(peer, options);
    } else {
        (void)std::fprintf(stderr, "usage: message-bench list|serve|ask|send [PEER] [OPTION...]\n");
        return 2;
    }
    return 0;
}
