/*
 * sd-bus, by way of a private dbus-daemon or dbus-broker: a method call with two byte arrays, or one without
 * an answer. The bus is started by the driver; its address is a socket in the bench folder.
 */
#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstring>

#include "peers/peer.h"

namespace {

constexpr char kPath[] = "/bench";
constexpr char kInterface[] = "bench.Service";

void check(int result, const char *what) {
    if (result < 0) {
        errno = -result;
        give_up(what);
    }
}

std::string service_name(unsigned index) {
    return "bench.Service" + std::to_string(index);
}

sd_bus *connect_to(const std::string &bus_name) {
    sd_bus *bus = nullptr;
    check(sd_bus_new(&bus), "sd_bus_new");
    check(sd_bus_set_address(bus, ("unix:path=" + bench_folder() + "/" + bus_name).c_str()), "address");
    check(sd_bus_set_bus_client(bus, 1), "client");
    check(sd_bus_start(bus), "sd_bus_start");
    return bus;
}

int answer_call(sd_bus_message *call, void *user, sd_bus_error *) {
    const void *request = nullptr;
    size_t size = 0;
    check(sd_bus_message_read_array(call, 'y', &request, &size), "read");
    static_cast<std::atomic<uint64_t> *>(user)->fetch_add(1, std::memory_order_relaxed);
    if (sd_bus_message_get_expect_reply(call) == 0) {
        return 1;
    }

    sd_bus_message *reply = nullptr;
    void *room = nullptr;
    check(sd_bus_message_new_method_return(call, &reply), "reply");
    const uint32_t wanted = wanted_answer(request, size);
    check(sd_bus_message_append_array_space(reply, 'y', wanted, &room), "reply space");
    std::memset(room, 0, wanted);
    check(sd_bus_send(nullptr, reply, nullptr), "send reply");
    sd_bus_message_unref(reply);
    return 1;
}

const sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Ask", "ay", "ay", answer_call, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

class SdbusClient : public Client {
  public:
    SdbusClient(const std::string &bus_name, unsigned index)
        : bus_(connect_to(bus_name)), service_(service_name(index)) {}
    ~SdbusClient() override { sd_bus_flush_close_unref(bus_); }
    SdbusClient(const SdbusClient &) = delete;
    SdbusClient &operator=(const SdbusClient &) = delete;

    void ask(const Bytes &request, Bytes *answer) override {
        sd_bus_message *call = make_call(request);
        sd_bus_message *reply = nullptr;
        check(sd_bus_call(bus_, call, 0, nullptr, &reply), "sd_bus_call");
        const void *data = nullptr;
        size_t size = 0;
        check(sd_bus_message_read_array(reply, 'y', &data, &size), "read");
        require(size == answer->size(), "answer's size");
        std::memcpy(answer->data(), data, size);
        sd_bus_message_unref(reply);
        sd_bus_message_unref(call);
    }

    bool send(const Bytes &message) override {
        sd_bus_message *call = make_call(message);
        check(sd_bus_message_set_expect_reply(call, 0), "no reply");
        const int sent = sd_bus_send(bus_, call, nullptr);
        sd_bus_message_unref(call);
        check(sd_bus_flush(bus_), "flush");
        return sent >= 0;
    }

  private:
    sd_bus_message *make_call(const Bytes &body) {
        sd_bus_message *call = nullptr;
        check(sd_bus_message_new_method_call(bus_, &call, service_.c_str(), kPath, kInterface, "Ask"),
              "call");
        check(sd_bus_message_append_array(call, 'y', body.data(), body.size()), "append");
        return call;
    }

    sd_bus *bus_;
    const std::string service_;
};

class Sdbus : public Peer {
  public:
    explicit Sdbus(const char *bus) : bus_name_(bus) {}

    [[noreturn]] void serve(const Service &service, bool) override {
        sd_bus *bus = connect_to(bus_name_);
        check(sd_bus_add_object_vtable(bus, nullptr, kPath, kInterface, kMethods, service.received),
              "vtable");
        check(sd_bus_request_name(bus, service_name(service.index).c_str(), 0), "name");
        service.when_ready();
        for (;;) {
            const int result = sd_bus_process(bus, nullptr);
            check(result, "process");
            if (result == 0) {
                check(sd_bus_wait(bus, UINT64_MAX), "wait");
            }
        }
    }

    std::unique_ptr<Client> open(unsigned index, bool) override {
        return std::make_unique<SdbusClient>(bus_name_, index);
    }

  private:
    const std::string bus_name_;
};

}  // namespace

std::unique_ptr<Peer> make_sdbus(const char *bus) {
    return std::make_unique<Sdbus>(bus);
}
